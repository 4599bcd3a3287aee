// A plugin of clang-tidy 14 with the check mien-own-declarations, which reports nothing and keeps all other
// checks out of the system's headers. Findings there are never shown, and searching for them takes most of
// the time.
//
// All checks share one traversal of the declarations. This check is called at the root, before everything
// else.

#include <clang-tidy/ClangTidyCheck.h>
#include <clang-tidy/ClangTidyModule.h>
#include <clang-tidy/ClangTidyModuleRegistry.h>
#include <vector>

namespace {

using clang::ast_matchers::MatchFinder;

class OwnDeclarations : public clang::tidy::ClangTidyCheck {
public:
  using ClangTidyCheck::ClangTidyCheck;

  void registerMatchers(MatchFinder* finder) override {
    finder->addMatcher(clang::ast_matchers::translationUnitDecl(), this);
  }

  void check(const MatchFinder::MatchResult& result) override {
    const clang::SourceManager& sources = *result.SourceManager;
    std::vector<clang::Decl*> own;
    for (clang::Decl* declaration : result.Context->getTranslationUnitDecl()->decls())
      if (!sources.isInSystemHeader(sources.getExpansionLoc(declaration->getLocation())))
        own.push_back(declaration);
    result.Context->setTraversalScope(own);
  }
};

class MienModule : public clang::tidy::ClangTidyModule {
public:
  void addCheckFactories(clang::tidy::ClangTidyCheckFactories& factories) override {
    factories.registerCheck<OwnDeclarations>("mien-own-declarations");
  }
};

const clang::tidy::ClangTidyModuleRegistry::Add<MienModule> module("mien", "Checks of this project.");

} // namespace

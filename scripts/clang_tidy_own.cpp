// A plugin of clang-tidy 14: the check mien-own-declarations, which reports nothing and keeps all other checks out of the
// system's headers. What they find there is never shown, and looking for it takes most of their time.
//
// All checks walk one tree of declarations together. This one is asked at the tree's root, before anything below it.

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

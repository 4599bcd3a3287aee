#include "host/cli/option_parser.h"

#include "host/base/error.h"
#include "host/cli/output.h"
#include "host/cli/usage_problem.h"

#include <CLI/CLI.hpp>

namespace mien {

struct OptionParser::Parser {
  CLI::App app;
  CommandDescription description;
  Output output;
};

OptionParser::OptionParser(const std::string& name, const std::function<void(Command&)>& add)
    : parser_(std::make_unique<Parser>()) {
  parser_->description.name = name;
  Command command(parser_->app, parser_->description, parser_->output);
  add(command);
}

OptionParser::~OptionParser() = default;

const CommandDescription& OptionParser::Description() const { return parser_->description; }

void OptionParser::RequireNothing() {
  for (CLI::Option* option : parser_->app.get_options()) option->required(false);
}

void OptionParser::Parse(const std::vector<std::string>& arguments) {
  try {
    parser_->app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend())); // the last one first
  } catch (const CLI::ParseError& error) {
    throw InputError(UsageProblem(error, parser_->app, parser_->description));
  }
}

} // namespace mien

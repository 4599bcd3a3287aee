#pragma once

#include "host/cli/command.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace mien {

/// The options of a command without the command line: a line of a batch names them, and they mean the same.
class OptionParser {
public:
  /// `name` is the command's name in messages: "mien solve". `add` adds the options; what they are read into
  /// must outlive the parser.
  OptionParser(const std::string& name, const std::function<void(Command&)>& add);
  ~OptionParser();
  OptionParser(const OptionParser&) = delete;
  OptionParser& operator=(const OptionParser&) = delete;

  const CommandDescription& Description() const;

  /// From now on, what the command requires may be left out: a program gives it in another way.
  void RequireNothing();

  /// Reads what the arguments give; everything else stays as it is. May be called any number of times. Throws
  /// an InputError of Code::Usage.
  void Parse(const std::vector<std::string>& arguments);

private:
  struct Parser;
  std::unique_ptr<Parser> parser_;
};

} // namespace mien

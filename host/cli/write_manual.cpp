// Writes the manual pages and the completion of bash, which are made from the command's help:
// mien_write_manual FOLDER.

#include "host/base/error.h"
#include "host/cli/bash_completion.h"
#include "host/cli/command_line.h"
#include "host/cli/manual_page.h"
#include "host/files/whole_file.h"

#include <cstdio>
#include <filesystem>

namespace {

namespace fs = std::filesystem;

using mien::CommandDescription;

void Write(const fs::path& path, const std::string& text) {
  fs::create_directories(path.parent_path());
  mien::WriteWhole(path, [&](std::ostream& out) { out << text; });
}

void WritePages(const fs::path& folder, const CommandDescription& command, const CommandDescription& mien) {
  Write(folder / "man1" / (ManualPageName(command) + ".1"), ManualPage(command, mien));
  for (const CommandDescription& own : command.commands) WritePages(folder, own, mien);
}

} // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  try {
    const CommandDescription mien = mien::DescribeCommandLine();
    WritePages(argv[1], mien, mien);
    Write(fs::path(argv[1]) / "completions" / "mien", BashCompletion(mien));
    return 0;
  } catch (const mien::InputError& error) { std::fprintf(stderr, "mien_write_manual: %s\n", error.what()); }
  return 1;
}

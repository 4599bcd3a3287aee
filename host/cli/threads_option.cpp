#include "host/cli/threads_option.h"

#include "host/base/parallel.h"
#include "host/base/text.h"

#include <fmt/format.h>

#include <charconv>
#include <string>

namespace mien {

namespace {

constexpr std::size_t kMost = 1024;

} // namespace

void AddThreads(Command& command, std::size_t& threads) {
  threads = AvailableThreads();
  command.AddParsed(
      {.names = "--threads",
       .type = "N",
       .help = "The number of threads. The output does not depend on it. Default: the number of available "
               "processors"},
      [&threads](const std::string& text) -> Command::Fault {
        std::size_t number = 0;
        const char* const end = text.data() + text.size();
        const auto [parsed, error] = std::from_chars(text.data(), end, number);
        if (error != std::errc() || parsed != end || number < 1 || number > kMost)
          return fmt::format("{} is not a number from 1 to {}", Quoted(text), kMost);
        threads = number;
        return std::nullopt;
      });
}

} // namespace mien

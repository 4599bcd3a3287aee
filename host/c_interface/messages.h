#pragma once

#include "host/base/error.h"
#include "host/c_interface/handle.h"
#include "host/c_interface/mien_host.h"

#include <string>
#include <vector>

/// Errors or notes.
struct mien_messages : mien::Handle<mien_messages> {
  static constexpr const char* kKind = "mien_messages";
  static constexpr std::uint64_t kWord = 0x6d69656e'6d736773;

  struct Line {
    std::string code, file, place, what, fix, text;
  };

  mien_status status = MIEN_OK;
  std::vector<Line> lines;
  std::string text; ///< of all

  mien_messages() = default;
  mien_messages(mien_status how, const std::vector<mien::Problem>& problems);
  /// Notes on what is in a file, or on the file itself.
  mien_messages(const std::vector<mien::Note>& notes, const std::string& file) { Add(notes, file); }

  void Add(const std::vector<mien::Note>& notes, const std::string& file);

private:
  void Add(Line line);
};

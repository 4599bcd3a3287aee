#pragma once

#include "host/base/error.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// What JsonStream hands the parts of a file to. A member function that returns false stops the parser.
class JsonEvents : public nlohmann::json_sax<nlohmann::json> {
public:
  /// Before each of the file's JSON values.
  virtual void StartDocument() = 0;

  bool IsTooDeep() const { return too_deep_; }
  bool IsTooLarge() const { return too_large_; }

  bool binary(nlohmann::json::binary_t& /*value*/) override { return false; } // JSON has none
  bool parse_error(std::size_t at, const std::string& token,
                   const nlohmann::detail::exception& error) override;

protected:
  /// For an object or array within kDeepestJson others.
  bool RefuseDepth() {
    too_deep_ = true;
    return false;
  }

private:
  bool too_deep_ = false, too_large_ = false;
};

/// One JSON value, or several one after the other as in JSON lines, parsed without keeping them. Bare NaN, as
/// Python writes it, is null.
class JsonStream {
public:
  /// `bytes` must outlive the stream.
  explicit JsonStream(std::string_view bytes);

  /// Parses to the end. A file that ends inside a value after `has_results` gets a note; anything else that is
  /// not JSON throws InputError with the line.
  void Parse(JsonEvents& events, const std::string& file, std::vector<Note>& notes,
             const std::function<bool()>& has_results);

  /// Where the parser is, counted from 1.
  std::size_t Line() const;

private:
  bool ParseDocument(JsonEvents& events);

  const std::string_view bytes_;
  const bool has_nan_;
  const char* at_;
};

} // namespace mien

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace mien {

/// Reads a JSON text from a packet without building objects, and allocates only for strings that are longer
/// than any before. After an error, all loops stop and HasFailed is true.
///
///     for (cursor.BeginObject(); cursor.NextKey(key);)
///       if (key == "time") time = cursor.Number(); else cursor.Skip();
class JsonCursor {
public:
  /// `json` must outlive the cursor.
  explicit JsonCursor(std::string_view json) : rest_(json) {}

  bool HasFailed() const { return failed_; }
  bool IsAtEnd(); ///< nothing but blanks is left

  /// What the next value begins with: '{', '[', '"', a digit or '-', 't', 'f', 'n' or 'N'; 0 at the end.
  char Peek();

  void BeginObject(); ///< failed where no object is next; likewise below
  void BeginArray();

  /// Goes to the next member, or leaves the object and returns false.
  bool NextKey(std::string& key);
  /// Goes to the next value of an array, or leaves it and returns false.
  bool NextElement();

  /// A number; NaN for null, and for a bare NaN as Python writes it.
  double Number();
  bool Boolean();
  void Text(std::string& text); ///< a string, or a number as it is written
  void Skip();                  ///< any value, nested up to kDeepestJson

private:
  bool Take(char c);
  bool TakeWord(std::string_view word);
  bool Next(char close);
  void String(std::string& text);
  void Escaped(std::string& text);
  double Fail();

  std::string_view rest_;
  bool first_ = false; // nothing of the object or array has been read yet
  bool failed_ = false;
};

} // namespace mien

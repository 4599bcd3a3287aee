#pragma once

#include <clocale>
#include <locale>
#include <string>

/// While it lives, the whole program writes and reads numbers as in Germany: 1.234,5. The C locale follows
/// where the system has a German one.
class DecimalComma {
public:
  DecimalComma()
      : before_(std::locale::global(std::locale(std::locale::classic(), new German))),
        c_before_(std::setlocale(LC_ALL, nullptr)) {
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "de_DE"})
      if (std::setlocale(LC_ALL, name)) break;
  }
  ~DecimalComma() {
    std::setlocale(LC_ALL, c_before_.c_str());
    std::locale::global(before_);
  }
  DecimalComma(const DecimalComma&) = delete;
  DecimalComma& operator=(const DecimalComma&) = delete;

private:
  struct German : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  std::locale before_;
  std::string c_before_;
};

#pragma once

#include "host/base/error.h"

#include <string>

/// The message of the InputError that a call ends with, or that it ended with none.
template <typename Call>
std::string InputErrorOf(const Call& call) {
  try {
    call();
  } catch (const mien::InputError& error) { return error.what(); }
  return "no InputError";
}

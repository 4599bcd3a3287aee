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

/// The first problem of that InputError: its code and place, "invalid-value at 7"; or that there was none.
template <typename Call>
std::string ProblemOf(const Call& call) {
  try {
    call();
  } catch (const mien::InputError& error) {
    const mien::Problem& problem = error.Problems().front();
    return std::string(ToText(problem.code)) + " at " + (problem.place.empty() ? "no place" : problem.place);
  }
  return "no InputError";
}

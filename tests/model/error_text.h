#pragma once

#include <string>

#include <gtest/gtest.h>

/// The text of the Exception that `call` throws; a failure when it throws none.
template <class Exception, class Call>
std::string errorText(Call const& call) {
  try {
    call();
  } catch (Exception const& e) {
    return e.what();
  }
  ADD_FAILURE() << "no exception";
  return {};
}

#pragma once
// What holds for every value: checks that the value tests of all folders share.

#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "platform/mav/strep.h"

/// What operator<< writes.
template <class T>
std::string shown(T const& value) {
  std::ostringstream out;
  out << value;
  return out.str();
}

/// The text of the RangeException that `call` raises.
template <class Call>
std::string rangeError(Call const& call) {
  try {
    static_cast<void>(call());
  } catch (Mav::RangeException const& e) {
    return e.what();
  }
  return "(no error)";
}

template <class T>
std::string strepError(std::string_view text) {
  return rangeError([&] { return Mav::strepToValue<T>(text); });
}

/// Prints and parses back, also from the front of a longer text.
template <class T>
void expectStrepRoundTrip(T const& value) {
  using Mav::valueToStrep;  // for types without a namespace
  std::string const strep = valueToStrep(value);
  EXPECT_EQ(Mav::strepToValue<T>(strep), value) << strep;

  std::string const longer = strep + "]";
  char const* from = longer.data();
  EXPECT_EQ(Mav::parsedStrep<T>(from, longer.data() + longer.size()), value);
  EXPECT_EQ(*from, ']');
}

/// Every one of `rows` is less than all behind it, by every operator.
template <class T>
void expectRising(std::vector<T> const& rows) {
  for (std::size_t i = 0; i < rows.size(); ++i) {
    for (std::size_t j = 0; j < rows.size(); ++j) {
      SCOPED_TRACE(shown(rows[i]) + " against " + shown(rows[j]));
      EXPECT_EQ(rows[i] < rows[j], i < j);
      EXPECT_EQ(rows[i] <= rows[j], i <= j);
      EXPECT_EQ(rows[i] > rows[j], i > j);
      EXPECT_EQ(rows[i] >= rows[j], i >= j);
      EXPECT_EQ(rows[i] == rows[j], i == j);
      EXPECT_EQ(rows[i] != rows[j], i != j);
    }
  }
}

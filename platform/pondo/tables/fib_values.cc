#include "platform/pondo/tables/fib_values.h"

#include "platform/mav/exception.h"

namespace Pondo::Fib {
namespace {

std::uint8_t checkedIndex(std::size_t value) {
  if (value <= ViaIndex::max) return static_cast<std::uint8_t>(value);
  throw Mav::RangeException("ViaIndex::value < ViaIndex::min or > ViaIndex::max not allowed");
}

}  // namespace

ViaIndex::ViaIndex(std::size_t value) : value_(checkedIndex(value)) {}

ViaIndex& ViaIndex::operator++() {
  value_ = checkedIndex(std::size_t{value_} + 1);
  return *this;
}

}  // namespace Pondo::Fib

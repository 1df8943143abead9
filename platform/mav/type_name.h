#pragma once
// The full name of a type as its users write it ("IpSnmp::InetAddress"). It comes from the
// compiler, so that it cannot drift from the declaration.

#include <string_view>

namespace Mav {

namespace Detail {
template <class T>
constexpr std::string_view typeSignature() {
  return __PRETTY_FUNCTION__;
}

// "... [with T = int; ...]" (GCC) or "... [T = int]" (Clang): what stands around the name does not
// depend on the name.
constexpr std::string_view intSignature = typeSignature<int>();
constexpr std::size_t signatureHead = intSignature.find("T = int") + 4;
constexpr std::size_t signatureTail = intSignature.size() - signatureHead - 3;
}  // namespace Detail

/// Known when it is compiled: a view of the program's own text, valid for ever.
template <class T>
constexpr std::string_view typeName() {
  std::string_view const signature = Detail::typeSignature<T>();
  return signature.substr(Detail::signatureHead,
                          signature.size() - Detail::signatureHead - Detail::signatureTail);
}

/// Gives the last component of typeName().
template <class T>
constexpr std::string_view shortTypeName() {
  std::string_view const name = typeName<T>();
  std::size_t const colon = name.rfind(':');
  return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

}  // namespace Mav

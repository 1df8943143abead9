#pragma once
// Reads what `ip -json` prints: arrays of objects, several arrays one after the other where files
// were joined. One object is in memory at a time, so a file of any length can pass.
//
// An object is a tree of nodes that know their line; Fields takes typed values from it and words
// the errors: "FILE:LINE: FIELD: expected WHAT, got WHAT".
//
// The parser is stopped at the first thing that is not of this form. Fields and nodes are views of
// one object, made for one call of `visit`; a value that is kept is copied out of them.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <absl/functional/function_ref.h>

#include "kelbase/ctl/line_source.h"
#include "platform/mav/exception.h"

namespace Kelbase::Ctl {

/// A file that cannot be loaded. The text begins with file and, where there is one, line.
class LoadException : public Mav::Exception {
 public:
  using Exception::Exception;
};

struct Node {
  enum class Type { null, boolean, number, string, array, object };

  Type type = Type::null;
  int line = 0;
  std::string name;            // of a member of an object
  std::string text;            // of a scalar: "true", the digits, the characters
  std::vector<Node> children;  // of arrays and objects

  /// The member of that name, or null; of several the first, since `ip` prints what an
  /// encapsulation says ("dst", "id") behind what the object says itself.
  Node const* member(std::string_view memberName) const;
};

/// Members of one object, as values of a certain shape. Views the object: for one call.
class Fields {
 public:
  Fields(Node const& object, std::string_view file) : object_(object), file_(file) {}

  bool empty() const { return object_.children.empty(); }
  bool has(std::string_view name) const { return object_.member(name) != nullptr; }
  bool beginWith(std::string_view name) const {
    return !empty() && object_.children.front().name == name;
  }
  bool hasNumber(std::string_view name) const {
    auto const* node = object_.member(name);
    return node && node->type == Node::Type::number;
  }
  /// Each of these raises LoadException where the member is missing or of another shape; `expected`
  /// is what its text asks for.
  std::string const& text(std::string_view name, std::string_view expected) const;
  /// Within min and max.
  std::int64_t wholeNumber(std::string_view name, std::int64_t min, std::int64_t max) const;
  bool boolean(std::string_view name) const;
  std::vector<std::string_view> names(std::string_view name) const;
  /// An object.
  Fields object(std::string_view name) const;
  /// An array of objects.
  std::vector<Fields> objects(std::string_view name) const;
  /// True only where the member is there and true.
  bool flag(std::string_view name) const { return has(name) && boolean(name); }

  /// "FILE:LINE", of the field or else of the object.
  std::string place(std::string_view name) const;
  /// LoadException "FILE:LINE: FIELD: problem".
  [[noreturn]] void fail(std::string_view name, std::string_view problem) const;
  /// LoadException "FILE:LINE: FIELD: expected ..., got ...".
  [[noreturn]] void failExpected(std::string_view name, std::string_view expected) const;

 private:
  Node const& required(std::string_view name) const;

  Node const& object_;
  std::string_view file_;
};

/// Hears of each object, in order, and whether it is the first of its array. `object` is good for
/// the call alone. An empty one is an entry that `ip` has filtered out.
using ObjectVisit = absl::FunctionRef<void(Node const& object, bool isFirst)>;

/// LoadException when `source` is not of this form; what `visit` throws passes through.
void readIpJson(LineSource& source, std::string_view file, ObjectVisit visit);

}  // namespace Kelbase::Ctl

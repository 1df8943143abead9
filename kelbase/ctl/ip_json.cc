#include "kelbase/ctl/ip_json.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace Kelbase::Ctl {
namespace {

// What `ip` prints is at most five deep. The bound keeps the recursive destructor of a hostile
// file's nodes off the end of the stack.
constexpr std::size_t depthMax = 64;
constexpr std::size_t quoteMax = 60;

std::string quoted(std::string const& text) {
  // A message is one line: what a hostile file puts into a field may be of any length.
  std::string const shown = text.size() > quoteMax ? text.substr(0, quoteMax) + "..." : text;
  // The cut may fall within a character of UTF-8: what is left of it is replaced, where dump()
  // would throw.
  return nlohmann::json(shown).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::string described(Node const& node) {
  switch (node.type) {
    case Node::Type::null:
      return "null";
    case Node::Type::boolean:
    case Node::Type::number:
      return node.text;
    case Node::Type::string:
      return quoted(node.text);
    case Node::Type::array:
      return "an array";
    case Node::Type::object:
      return "an object";
  }
  return "something else";
}

/// The parser's own text without its prefix, which counts lines from the start of the array:
/// "[json.exception...] parse error at line 1, column 2: ".
std::string reason(std::string_view text) {
  if (auto const column = text.find("column "); column != text.npos) {
    if (auto const colon = text.find(": ", column); colon != text.npos) {
      text.remove_prefix(colon + 2);
    }
  }
  std::string bounded(text.substr(0, 200));
  // It quotes what it last read.
  std::ranges::replace_if(
      bounded, [](char c) { return c >= 0 && c < ' '; }, ' ');
  return bounded;
}

/// The callbacks of nlohmann's SAX parser, whose names are given. Builds one element at a time.
class ElementBuilder {
 public:
  ElementBuilder(LineSource& source, std::string_view file, ObjectVisit visit)
      : source_(source), file_(file), visit_(visit) {}

  using number_integer_t = nlohmann::json::number_integer_t;
  using number_unsigned_t = nlohmann::json::number_unsigned_t;
  using number_float_t = nlohmann::json::number_float_t;
  using string_t = nlohmann::json::string_t;
  using binary_t = nlohmann::json::binary_t;

  bool null() { return scalar(Node::Type::null, "null"); }
  bool boolean(bool value) { return scalar(Node::Type::boolean, value ? "true" : "false"); }
  bool number_integer(number_integer_t value) {
    return scalar(Node::Type::number, fmt::to_string(value));
  }
  bool number_unsigned(number_unsigned_t value) {
    return scalar(Node::Type::number, fmt::to_string(value));
  }
  // As the file has it: messages quote it, and no field is read as a fraction.
  bool number_float(number_float_t, string_t const& digits) {
    return scalar(Node::Type::number, digits);
  }
  bool string(string_t& value) { return scalar(Node::Type::string, std::move(value)); }
  bool binary(binary_t&) { return false; }  // not in JSON text
  bool key(string_t& name) {
    name_ = std::move(name);
    return true;
  }
  bool start_object(std::size_t) {
    if (open_.empty()) expectInArray("an object");
    return open(Node::Type::object);
  }
  bool end_object() { return close(); }
  bool start_array(std::size_t) {
    // The outermost array is no element: its objects come one by one.
    if (open_.empty() && !inArray_) {
      inArray_ = true;
      return true;
    }
    if (open_.empty()) failElement("an array");
    return open(Node::Type::array);
  }
  bool end_array() {
    if (!open_.empty()) return close();
    inArray_ = false;
    return true;
  }
  // Throws: to say false would end the parse without a word.
  bool parse_error(std::size_t, std::string const&, nlohmann::json::exception const& e) {
    fail(fmt::format("not JSON as 'ip -json' prints it: {}", reason(e.what())));
  }

 private:
  [[noreturn]] void fail(std::string_view problem) const {
    throw LoadException(fmt::format("{}:{}: {}", file_, source_.line(), problem));
  }

  [[noreturn]] void failElement(std::string_view got) const {
    fail(fmt::format("expected an object in the array, got {}", got));
  }

  void expectInArray(std::string_view got) const {
    if (!inArray_) fail(fmt::format("expected an array, as 'ip -json' prints it, got {}", got));
  }

  Node& add(Node::Type type, std::string text) {
    // May move the siblings before it, which are complete: none of them is open.
    Node& node = open_.empty() ? root_ : open_.back()->children.emplace_back();
    node.type = type;
    // Where the value ends, which for a scalar is its line and for an object the line of its brace.
    node.line = source_.line();
    node.name = std::exchange(name_, {});
    node.text = std::move(text);
    return node;
  }

  bool scalar(Node::Type type, std::string text) {
    if (open_.empty()) {
      std::string const got = described({type, 0, {}, std::move(text), {}});
      expectInArray(got);
      failElement(got);
    }
    add(type, std::move(text));
    return true;
  }

  bool open(Node::Type type) {
    if (open_.size() == depthMax) fail("nested too deep");
    Node& node = add(type, {});
    open_.push_back(&node);
    return true;
  }

  bool close() {
    open_.pop_back();
    if (open_.empty()) {
      // With its children whole; they are freed when the call is over, so that a file of any length
      // passes.
      visit_(root_, std::exchange(isFirst_, false));
      root_ = {};
    }
    return true;
  }

  LineSource& source_;
  std::string_view file_;
  ObjectVisit visit_;
  bool inArray_ = false;
  bool isFirst_ = true;  // nothing of the array has been told
  Node root_;
  std::string name_;         // of the next value
  std::vector<Node*> open_;  // root_ and down; only the last one grows, so the pointers hold
};

}  // namespace

Node const* Node::member(std::string_view memberName) const {
  auto const found = std::ranges::find(children, memberName, &Node::name);
  return found == children.end() ? nullptr : &*found;
}

std::string Fields::place(std::string_view name) const {
  Node const* const node = object_.member(name);
  return fmt::format("{}:{}", file_, node ? node->line : object_.line);
}

void Fields::fail(std::string_view name, std::string_view problem) const {
  throw LoadException(fmt::format("{}: {}: {}", place(name), name, problem));
}

void Fields::failExpected(std::string_view name, std::string_view expected) const {
  fail(name, fmt::format("expected {}, got {}", expected, described(required(name))));
}

Node const& Fields::required(std::string_view name) const {
  Node const* const node = object_.member(name);
  if (!node) fail(name, "missing");
  return *node;
}

std::string const& Fields::text(std::string_view name, std::string_view expected) const {
  Node const& node = required(name);
  if (node.type != Node::Type::string) failExpected(name, expected);
  return node.text;
}

std::int64_t Fields::wholeNumber(std::string_view name, std::int64_t min, std::int64_t max) const {
  Node const& node = required(name);
  std::int64_t value = 0;
  char const* const end = node.text.data() + node.text.size();
  // A fraction, an exponent, or digits beyond 64 bits stop it short, or are an error: all are no
  // whole number.
  auto const [stop, error] = std::from_chars(node.text.data(), end, value);
  if (node.type != Node::Type::number || error != std::errc{} || stop != end || value < min ||
      value > max) {
    failExpected(name, fmt::format("a whole number from {} to {}", min, max));
  }
  return value;
}

bool Fields::boolean(std::string_view name) const {
  Node const& node = required(name);
  if (node.type != Node::Type::boolean) failExpected(name, "true or false");
  return node.text == "true";
}

std::vector<std::string_view> Fields::names(std::string_view name) const {
  constexpr std::string_view expected = "an array of names";
  Node const& node = required(name);
  if (node.type != Node::Type::array) failExpected(name, expected);
  std::vector<std::string_view> texts;
  for (Node const& child : node.children) {
    if (child.type != Node::Type::string) {
      fail(name, fmt::format("expected {}, got {} in it", expected, described(child)));
    }
    texts.emplace_back(child.text);
  }
  return texts;
}

Fields Fields::object(std::string_view name) const {
  Node const& node = required(name);
  if (node.type != Node::Type::object) failExpected(name, "an object");
  return {node, file_};
}

std::vector<Fields> Fields::objects(std::string_view name) const {
  constexpr std::string_view expected = "an array of objects";
  Node const& node = required(name);
  if (node.type != Node::Type::array) failExpected(name, expected);
  std::vector<Fields> result;
  for (Node const& child : node.children) {
    if (child.type != Node::Type::object) {
      fail(name, fmt::format("expected {}, got {} in it", expected, described(child)));
    }
    result.emplace_back(child, file_);
  }
  return result;
}

void readIpJson(LineSource& source, std::string_view file, ObjectVisit visit) {
  while (source.skipSpace()) {
    // A new one for each array: nothing of the one before is left over.
    ElementBuilder builder(source, file, visit);
    // Not strict: where files were joined, another array follows this one.
    nlohmann::json::sax_parse(LineSource::Iterator(source), LineSource::Iterator(), &builder,
                              nlohmann::json::input_format_t::json, false);
  }
}

}  // namespace Kelbase::Ctl

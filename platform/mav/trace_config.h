#pragma once
// The text of MAV_TRACE: which levels of which handles are on. Items are separated by commas:
//
//   NAME        every level of the handles of that name; "*" names every handle
//   NAME/2      that level
//   NAME/0-2    those levels
//
// White space around an item is ignored, and so are empty items. Several items for one handle add
// up. An item of another form has no effect and is kept, to be told once.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Mav {

class TraceConfig {
 public:
  explicit TraceConfig(std::string_view text);

  /// Gives the levels that are on for this handle, level n as bit n. Level 0 is always on.
  std::uint32_t levels(std::string_view handleName) const;

  /// The items that could not be read, as they were written.
  std::vector<std::string> const& badItems() const { return badItems_; }

 private:
  struct Item {
    std::string name;
    std::uint32_t levels;
  };
  bool add(std::string_view item);

  std::vector<Item> items_;
  std::vector<std::string> badItems_;
};

}  // namespace Mav

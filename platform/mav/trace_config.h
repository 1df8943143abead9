#pragma once
// The text of MAV_TRACE: which levels of which handles are on. Items are separated by commas:
//
//   NAME        every level of the handles of that name; "*" names every handle
//   NAME/2      that level
//   NAME/0-2    those levels
//
// White space around an item is ignored, and so are empty items. Several items for one handle add
// up. An item that reads otherwise is ignored and kept for a message.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Mav {

class TraceConfig {
 public:
  explicit TraceConfig(std::string_view text);

  /// The levels that are on for this handle, level n as bit n; level 0 always is.
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

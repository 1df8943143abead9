// Iterators that survive every change, held against a std::map.

#include <map>
#include <random>
#include <set>
#include <type_traits>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/mav/ordered_map_cursor.h"

namespace {

using Mav::Ptr;
using testing::ElementsAre;

class Row : public Mav::Counted<Row> {
 public:
  explicit Row(int key) : number(key) { ++alive; }
  ~Row() { --alive; }
  int const number;
  static inline int alive = 0;
};

template <class Map>
Ptr<Row> insert(Map& map, int key) {
  return map.insertOrGet(key, [key] { return Mav::makeObject<Row>(key); }).first;
}

template <class Map>
std::vector<int> keys(Map const& map) {
  std::vector<int> result;
  for (auto it = map.first(); it; ++it) result.push_back(it.key());
  return result;
}

TEST(OrderedMap, walkUnderRandomEditsIsStrictlyIncreasingAndSkipsNothingThatStays) {
  std::mt19937 random(20240611);
  Mav::OrderedMap<int, Ptr<Row>> map;
  std::map<int, Ptr<Row>> model;
  auto const edit = [&](std::set<int>& stayed) {
    int const key = static_cast<int>(random() % 300);
    if (random() % 2 == 0) {
      model[key] = insert(map, key);
    } else {
      EXPECT_EQ(map.erase(key), model.erase(key) == 1);
      stayed.erase(key);
    }
  };
  std::set<int> none;
  std::size_t steps = 0;
  for (int walk = 0; walk < 60; ++walk) {
    for (int n = 0; n < 100; ++n) edit(none);
    std::set<int> stayed;  // rows that are there from the start of the walk to its end
    for (auto const& [key, row] : model) stayed.insert(key);
    std::vector<int> seen;
    for (auto it = std::as_const(map).first(); it; ++it) {
      ASSERT_EQ(it->number, it.key());
      ASSERT_TRUE(seen.empty() || seen.back() < it.key()) << seen.back() << " then " << it.key();
      seen.push_back(it.key());
      for (auto n = random() % 4; n > 0; --n) edit(stayed);
      ASSERT_EQ(it->number, it.key()) << "a row that was erased can still be read";
    }
    std::multiset<int> const visits(seen.begin(), seen.end());
    for (int const key : stayed) ASSERT_EQ(visits.count(key), 1U) << key;
    steps += seen.size();
    ASSERT_EQ(map.size(), model.size());
    for (auto const& [key, row] : model) ASSERT_EQ(map.get(key), row);
  }
  EXPECT_GT(steps, 5'000U);
}

static_assert(std::is_same_v<Mav::OrderedMap<int, Ptr<Row>>::MappedConst, Ptr<Row const>>);

TEST(OrderedMap, entriesThatChangeTheMapWhileTheyComeAndGo) {
  struct Neighbourly : Mav::Counted<Neighbourly> {
    using Map = Mav::OrderedMap<int, Ptr<Neighbourly>>;
    Neighbourly(Map& home, int buddy) : home_(home), buddy_(buddy) {
      if (buddy != 0) home.put(buddy, Mav::makeObject<Neighbourly>(home, 0));
    }
    ~Neighbourly() { home_.erase(buddy_); }
    Map& home_;
    int const buddy_;
  };
  Neighbourly::Map map;
  map.insertOrGet(5, [&] { return Mav::makeObject<Neighbourly>(map, 4); });
  EXPECT_THAT(keys(map), ElementsAre(4, 5));
  map.put(5, Mav::makeObject<Neighbourly>(map, 6));
  EXPECT_THAT(keys(map), ElementsAre(5, 6));
  EXPECT_TRUE(map.erase(5));
  EXPECT_THAT(keys(map), ElementsAre());
  map.insertOrGet(5, [&] { return Mav::makeObject<Neighbourly>(map, 4); });
  map.clear();
  EXPECT_TRUE(map.empty());

  // Far enough that the place found for a row moves while its entry is made.
  for (int key = 200; key > 0; key -= 2) {
    map.insertOrGet(key, [&] { return Mav::makeObject<Neighbourly>(map, key - 1); });
    ASSERT_TRUE(map.contains(key) && map.contains(key - 1));
  }
  EXPECT_EQ(map.size(), 200U);
}

/// Sweeps in key order, which keep, erase, replace or insert rows, while others change the map too.
TEST(OrderedMap, cursorFindsItsPlaceWhateverHappened) {
  using Map = Mav::OrderedMap<int, Ptr<Row>>;
  std::mt19937 random(7);
  Map map;
  Map::Cursor cursor(map);
  std::map<int, Ptr<Row>> model;
  for (int sweep = 0; sweep < 300; ++sweep) {
    auto held = std::as_const(map).first();
    int const stepMax = sweep % 2 == 0 ? 2 : 40;
    for (int key = 0; key < 400; key += 1 + static_cast<int>(random()) % stepMax) {
      cursor.seek(key);
      auto const expected = model.lower_bound(key);
      ASSERT_EQ(static_cast<bool>(cursor), expected != model.end());
      if (cursor) {
        ASSERT_EQ(cursor.key(), expected->first);
        ASSERT_EQ(cursor.value(), expected->second);
      }
      bool const found = cursor && cursor.key() == key;
      switch (random() % (sweep % 3 == 0 ? 6 : 4)) {
        case 0:
          if (found) cursor.step();
          break;
        case 1:
          if (found) {
            model[key] = Mav::makeObject<Row>(key);
            cursor.replace(model[key]);
          }
          break;
        case 2:
        case 3:
          if (found) {
            model.erase(key);
            cursor.erase();
          } else {
            model[key] = Mav::makeObject<Row>(key);
            cursor.insert(key, model[key]);
          }
          break;
        default: {  // somebody else
          int const other = static_cast<int>(random() % 400);
          map.erase(other);
          model.erase(other);
          if (random() % 2 == 0) model[other] = insert(map, other);
        }
      }
      if (auto const before = held.key(); held && ++held) {
        ASSERT_LT(before, held.key());
      }
    }
    if (sweep == 150) {
      map.clear();
      model.clear();
    }
  }
  EXPECT_GT(model.size(), 50U);
  auto expected = model.begin();
  for (auto row = map.first(); row; ++row, ++expected) ASSERT_EQ(row.value(), expected->second);
}

}  // namespace

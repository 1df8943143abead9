#include "platform/mav/value.h"

#include <cstdint>

#include <gtest/gtest.h>

#include "platform/mav/enumeration.h"
#include "platform/mav/number_value.h"
#include "tests/support/strep_checks.h"

namespace Zoo {

MAV_ENUM(Kind, (kindBird, 0), (kindFish, 1))

class Weight : public Mav::NumberValue<Weight, std::uint8_t> {
 public:
  using NumberValue::NumberValue;
};

class Tag : public Mav::Value<Tag> {
 public:
  Tag() = default;
  Tag(Kind kind, std::int32_t number) : kind_(kind), number_(number) {}
  Tag(char const*& from, char const* to) : Tag(Mav::parsedStrep<Tag>(from, to)) {}

  static constexpr auto attributes() {
    return std::tuple{Mav::Attribute("kind", &Tag::kind_), Mav::Attribute("number", &Tag::number_)};
  }

 private:
  Kind kind_ = kindBird;
  std::int32_t number_ = 0;
};

class Cage : public Mav::Counted<Cage> {
 public:
  explicit Cage(Tag key) : key_(key) {}
  Tag const& key() const { return key_; }

 private:
  Tag key_;
};

class Animal : public Mav::PlainValue<Animal> {
 public:
  Animal() = default;
  Animal(Tag tag, std::string name, Weight weight, Mav::Ptr<Cage const> cage)
      : tag_(tag), name_(std::move(name)), weight_(weight), cage_(std::move(cage)) {}

  static constexpr auto attributes() {
    return std::tuple{Mav::Attribute("tag", &Animal::tag_), Mav::Attribute("name", &Animal::name_),
                      Mav::Attribute("weight", &Animal::weight_),
                      Mav::Attribute("cage", &Animal::cage_)};
  }

 private:
  Tag tag_;
  std::string name_;
  Weight weight_;
  Mav::Ptr<Cage const> cage_;
};

static_assert(!std::three_way_comparable<Animal>);
static_assert(sizeof(Tag) == 8);

namespace {

Tag const fish3(kindFish, 3);

TEST(Value, firstDifferingAttributeDecides) {
  expectRising<Tag>({{kindBird, -5}, {kindBird, 2}, {kindBird, 10}, {kindFish, -9}, {kindFish, 0}});
  EXPECT_TRUE(!Tag());
  EXPECT_FALSE(!fish3);
}

TEST(Value, printsEveryKindOfAttribute) {
  EXPECT_EQ(valueToStrep(fish3), "Value('Zoo::Tag', ** {'kind': 'kindFish', 'number': 3})");
  EXPECT_EQ(shown(fish3), valueToStrep(fish3));
  EXPECT_EQ(shown(Weight(200)), "200");
  std::string const head =
      "Value('Zoo::Animal', ** {'tag': " + valueToStrep(fish3) + ", 'name': 'c\\'p', 'weight': 9, ";
  EXPECT_EQ(valueToStrep(Animal(fish3, "c'p", Weight(9), nullptr)), head + "'cage': None})");
  EXPECT_EQ(valueToStrep(Animal(fish3, "c'p", Weight(9), Mav::makeObject<Cage const>(fish3))),
            head + "'cage': Ptr(" + valueToStrep(fish3) + ")})");
  expectStrepRoundTrip(Tag(kindFish, -12));
  expectStrepRoundTrip(Animal(fish3, "\x01'", Weight(255), nullptr));
}

TEST(Value, parseErrorsSayWhatAndWhere) {
  struct Row {
    std::string_view text;
    std::string_view error;
  };
  for (Row const& row : {
           Row{"", "expected \"Value\" at column 0"},
           {"Value 'Zoo::Tag'", "expected \"(\" at column 6"},
           {"Value('Zoo::Animal', ** {})", "expected \"'Zoo::Tag'\" at column 6"},
           {"Value('Zoo::Tag', ** { ", "premature end of value type Tag"},
           {"Value('Zoo::Tag', ** {'number': 3", "premature end of value type Tag"},
           {"Value('Zoo::Tag', ** {'number': 3 'kind': 'kindFish'})",
            "expected \",\" at column 34"},
           {"Value('Zoo::Tag', ** {'colour': 3})", "Tag has no such attribute: colour"},
           {"Value('Zoo::Tag', ** {}) x", "junk at column 25 deserializing Zoo::Tag"},
       }) {
    EXPECT_EQ(strepError<Tag>(row.text), row.error) << row.text;
  }
  // Columns of a nested value count from the start of the whole.
  EXPECT_EQ(strepError<Animal>("Value('Zoo::Animal', ** {'tag': Value(Zoo"),
            "expected \"'Zoo::Tag'\" at column 38");
  EXPECT_EQ(strepError<Animal>("Value('Zoo::Animal', ** {'cage': Ptr(1)})"),
            "expected \"None\" at column 33");
}

}  // namespace
}  // namespace Zoo

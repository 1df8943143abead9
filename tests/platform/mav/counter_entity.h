#pragma once
// An entity for tests: one number, and one announced collection of parts with a fixed weight.

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "platform/mav/announced_map.h"
#include "platform/mav/constructor_parameter.h"
#include "platform/mav/entity.h"

namespace Test {

class Part : public Mav::Counted<Part> {
 public:
  explicit Part(std::uint8_t weight) : weight_(weight) {}
  std::uint8_t weight() const { return weight_; }

 private:
  std::uint8_t const weight_;
};

class CounterEntity : public Mav::Entity {
 public:
  static constexpr Mav::AttributeId valueAttributeId = Mav::firstAttributeId;
  static constexpr Mav::AttributeId partAttributeId = Mav::firstAttributeId + 1;

  class NotifieeConst : public Mav::Notifiee<CounterEntity const, NotifieeConst> {
   public:
    using Notifiee::Notifiee;
    virtual void onValue() {}
    virtual void onPart(int const&) {}
  };

  CounterEntity() : Entity("counter") {}

  int value() const { return value_; }
  void valueIs(int value) {
    value_ = value;
    notify(valueAttributeId, &NotifieeConst::onValue);
  }

  using PartMap = Mav::OrderedMap<int, Mav::Ptr<Part>>;
  Mav::Ptr<Part> part(int key) const { return part_.map().get(key); }
  Mav::Ptr<Part> partIs(int key, std::uint8_t weight) {
    return part_.is(
        key, [&] { return Mav::makeObject<Part>(weight); },
        [&](Part const& m) { Mav::checkConstructorParameter("_weight", weight, m.weight()); });
  }
  void partDel(int key) { part_.del(key); }
  void partDelAll() { part_.delAll(); }

  std::span<std::string_view const> attributeNames() const override {
    static constexpr std::array<std::string_view, 2> names{"value", "part"};
    return names;
  }

 private:
  int value_ = 0;
  Mav::AnnouncedMap<PartMap, NotifieeConst, partAttributeId, &NotifieeConst::onPart> part_{*this};
};

}  // namespace Test

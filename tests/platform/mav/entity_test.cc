#include "platform/mav/entity.h"

#include <any>
#include <string>

#include <gtest/gtest.h>

#include "platform/mav/directory.h"
#include "tests/platform/mav/counter_entity.h"
#include "tests/support/strep_checks.h"

namespace {

using Mav::Ptr;
using Test::CounterEntity;

class OtherEntity : public Mav::Entity {
 public:
  using Entity::Entity;
  std::string_view typeName() const override { return "Test::OtherEntity"; }
  Mav::AttributeTable const& attributeTable() const override {
    static Mav::AttributeTable const table{};
    return table;
  }
};

TEST(Entity, whatTheGenericInterfaceRefuses) {
  auto const entity = Mav::makeObject<CounterEntity>();
  EXPECT_EQ(rangeError([&] { return entity->attribute("colour"); }),
            "Test::CounterEntity has no attribute 'colour'");
  EXPECT_EQ(rangeError([&] { entity->attributeIs("doubled", 4); }),
            "Test::CounterEntity attribute 'doubled' cannot be set by name");
  EXPECT_EQ(rangeError([&] { return entity->attribute("part"); }),
            "Test::CounterEntity attribute 'part' is a collection, which has no one value");
  EXPECT_EQ(rangeError([&] { entity->memberDel("value", 4); }),
            "Test::CounterEntity attribute 'value' has no members to be removed by key");
  EXPECT_EQ(rangeError([&] { entity->attributeIs("value", 4.0); }),
            "Test::CounterEntity 'counter' takes a value of type int here, not double");
  EXPECT_EQ(entity->value(), 0);
  EXPECT_EQ(std::any_cast<std::string>(entity->attribute("name")), "counter");
}

TEST(Directory, mountsByPathWithATypeTest) {
  Mav::Directory directory;
  auto const entity = Mav::makeObject<CounterEntity>();
  directory.mount("Kelbase/counter", entity);
  directory.mount("Kelbase/counter", entity);
  EXPECT_EQ(directory.entityAs<CounterEntity>("Kelbase/counter"), entity);
  EXPECT_EQ(directory.entityAs<OtherEntity>("Kelbase/counter"), nullptr);
  EXPECT_EQ(directory.entity("Kelbase"), nullptr);
  EXPECT_THROW(directory.mount("Kelbase/counter", Mav::makeObject<OtherEntity>("other")),
               Mav::NameInUseException);
  EXPECT_EQ(rangeError([&] { directory.mount("null", nullptr); }), "null ValidPtr");
  directory.unmount("Kelbase/counter");
  directory.unmount("Kelbase/counter");
  EXPECT_EQ(directory.entity("Kelbase/counter"), nullptr);
  EXPECT_EQ(entity->use_count(), 1U);
}

}  // namespace

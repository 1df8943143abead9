#include "platform/mav/entity.h"

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
};

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

// The built module, loaded into the agent library of this process as dlmod does it.

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "platform/pondo/environment/writer.h"
#include "tests/handlers/agent_request.h"
#include "tests/support/scratch_dir.h"

namespace {

using Testing::AgentRequest;
using Testing::Oid;

Oid const ipForwarding{1, 3, 6, 1, 2, 1, 4, 1, 0};
Oid const ipv6IpForwarding{1, 3, 6, 1, 2, 1, 4, 25, 0};

// ipCidrRouteIfIndex of 10.0.0.0/8 by way of 192.0.2.1.
Oid const ipCidrRouteIfIndex{1, 3, 6, 1,   2, 1, 4, 24, 4,   1, 5, 10,
                             0, 0, 0, 255, 0, 0, 0, 0,  192, 0, 2, 1};

class Module {
 public:
  Module() : handle_(::dlopen(OVO_MODULE, RTLD_NOW | RTLD_LOCAL)) {
    if (!handle_) throw std::runtime_error(::dlerror());
    call("init_OvoSnmp");
  }
  ~Module() {
    call("deinit_OvoSnmp");
    ::dlclose(handle_);
  }
  Module(Module const&) = delete;
  Module& operator=(Module const&) = delete;

  static bool mapped() {
    void* const handle = ::dlopen(OVO_MODULE, RTLD_NOW | RTLD_NOLOAD);
    if (handle) ::dlclose(handle);
    return handle != nullptr;
  }

 private:
  void call(char const* entry) { reinterpret_cast<void (*)()>(::dlsym(handle_, entry))(); }

  void* const handle_;
};

class ModuleTest : public testing::Test {
 protected:
  ModuleTest() {
    Testing::startAgentLibrary();
    ::setenv("KELBASE_RUNDIR", runDir().c_str(), 1);
  }
  ~ModuleTest() override { ::unsetenv("KELBASE_RUNDIR"); }

  std::filesystem::path runDir() const { return top_ / "run"; }

  /// Both flags, and 10.0.0.0/8 by way of 192.0.2.1 on the interface `ifIndex`. Only while no
  /// module is at work: a process has one environment open at a time.
  void publish(bool routing, std::int32_t ifIndex) const {
    Dovel::IntfId const eth0("eth0");
    Pondo::Fib::FecId const fecId(1);
    Pondo::Writer writer(runDir(), {});
    writer.put<Pondo::ForwardingTable>(Pondo::Family::ipv4, {.routing = routing});
    writer.put<Pondo::ForwardingTable>(Pondo::Family::ipv6, {.routing = !routing});
    writer.put<Pondo::LinkTable>(eth0, {.ifIndex = ifIndex, .adminUp = true, .operUp = true});
    writer.put<Pondo::FecTable>(fecId, {{{Dovel::IpAddr("192.0.2.1"), eth0, ifIndex}}});
    writer.put<Pondo::RouteTable>(Dovel::Prefix("10.0.0.0/8"),
                                  {fecId, Routing::RouteMetric(20), Routing::RoutePreference(1),
                                   Routing::Fib::routeTypeStatic});
    writer.commitComplete();
  }

  static std::optional<long> value(Oid const& instance) {
    auto const reply = AgentRequest(MODE_GET, instance).registered();
    return reply ? reply->value : std::nullopt;
  }
  static bool isRegistered(Oid const& instance) {
    return AgentRequest(MODE_GET, instance).registered().has_value();
  }

  /// The daemon's loop, until the object is served; false when it is not within ten seconds.
  static bool turnUntilRegistered(Oid const& instance) {
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!isRegistered(instance)) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      agent_check_and_process(0);
    }
    return true;
  }

 private:
  ScratchDir top_;
};

TEST_F(ModuleTest, ServesWhatIsPublishedAndLeavesNothingBehindReloadAfterReload) {
  for (int round = 0; round < 5; ++round) {
    bool const routing = round % 2 == 0;
    publish(routing, 3 + round);
    {
      Module const module;
      EXPECT_FALSE(isRegistered(ipForwarding));  // snmpd has still to fork and drop privileges
      ASSERT_TRUE(turnUntilRegistered(ipForwarding));
      EXPECT_EQ(value(ipForwarding), routing ? 1 : 2);
      EXPECT_EQ(value(ipv6IpForwarding), routing ? 2 : 1);
      EXPECT_EQ(value(ipCidrRouteIfIndex), 3 + round);
    }
    EXPECT_FALSE(isRegistered(ipForwarding));
    EXPECT_FALSE(isRegistered(ipv6IpForwarding));
    EXPECT_FALSE(Module::mapped());
    EXPECT_EQ(external_readfdlen, 0);
  }
}

TEST_F(ModuleTest, UnloadedBeforeItStartedItNeverStarts) {
  publish(true, 3);
  { Module const module; }
  EXPECT_FALSE(Module::mapped());
  agent_check_and_process(0);
  EXPECT_FALSE(isRegistered(ipForwarding));
}

}  // namespace

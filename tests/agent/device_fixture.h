#pragma once
// Interfaces made of plain entities, and what the state machines on top of them trace.

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/trace.h"
#include "platform/state/entities/all_intf_status_dir.h"
#include "platform/state/entities/intf_details_provider.h"
#include "tests/support/log_lines.h"

using Texts = std::vector<std::string>;

class DeviceFixture : public testing::Test, public Intf::IntfDetailsProvider {
 public:
  DeviceFixture() { Intf::intfDetailsProviderIs(this); }
  ~DeviceFixture() override { Intf::intfDetailsProviderIs(nullptr); }
  std::int32_t ifIndex(Interface::IntfStatus const& status) const override {
    return status.ifIndex();
  }

 protected:
  static Dovel::IntfId id(std::string_view name) { return Dovel::IntfId(name); }
  void link(std::string_view name, std::int32_t ifIndex) {
    dir_->intfStatusIs(id(name), ifIndex, true);
  }

  Mav::Ptr<Interface::AllIntfStatusDir> const dir_ = Mav::makeObject<Interface::AllIntfStatusDir>();
};

/// The state machines' lines up to `levelMax`, without the head that names file and line.
class AgentLines {
 public:
  explicit AgentLines(int levelMax) : levelMax_(levelMax) { enable(true); }
  ~AgentLines() { enable(false); }
  /// What was written since the last call.
  Texts take() {
    auto texts = lines_.take();
    for (auto& text : texts) text.erase(0, text.find(' ', text.find(' ') + 1) + 1);
    return texts;
  }

 private:
  void enable(bool on) {
    for (int level = 1; level <= levelMax_; ++level) {
      IpSnmp::agentTraceHandle().enabledIs(level, on);
    }
  }
  int const levelMax_;
  LogLines lines_;
};

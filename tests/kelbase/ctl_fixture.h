#pragma once
// kelbasectl's commands with a run directory of their own, and what they print.

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include "kelbase/ctl_command.h"

namespace Kelbase::Ctl {

class CtlFixture : public ::testing::Test {
 protected:
  CtlFixture() {
    std::string pattern = std::filesystem::temp_directory_path() / "kelbasectl.XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) std::abort();
    top_ = pattern;
  }
  ~CtlFixture() override { std::filesystem::remove_all(top_); }

  std::filesystem::path runDir() const { return top_ / "run"; }

  std::string file(std::string const& name, std::string const& text) const {
    std::ofstream(top_ / name) << text;
    return top_ / name;
  }

  int ctl(std::vector<std::string> arguments, std::string const& input = "") {
    arguments.insert(arguments.begin(), {"--rundir", runDir()});
    std::istringstream in(input);
    out_.str("");
    err_.str("");
    return run({.in = in,
                .out = out_,
                .err = err_,
                .epoch = [this] { return epoch_; },
                .version = "1.2.3"},
               std::move(arguments));
  }

  std::string out() const { return out_.str(); }
  std::string err() const { return err_.str(); }
  nlohmann::json outJson() const { return nlohmann::json::parse(out_.str()); }

  std::filesystem::path top_;
  std::ostringstream out_;
  std::ostringstream err_;
  double epoch_ = static_cast<double>(std::time(nullptr));
};

}  // namespace Kelbase::Ctl

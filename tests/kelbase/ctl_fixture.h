#pragma once
// kelbasectl's commands with a run directory of their own, and what they print.

#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "kelbase/ctl/command.h"
#include "tests/support/scratch_dir.h"

namespace Kelbase::Ctl {

class CtlFixture : public ::testing::Test {
 protected:
  std::filesystem::path runDir() const { return top_ / "run"; }

  std::string file(std::string const& name, std::string const& text) const {
    auto const path = top_ / name.c_str();
    std::ofstream(path) << text;
    return path;
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

  ScratchDir const top_;
  std::ostringstream out_;
  std::ostringstream err_;
  double epoch_ = static_cast<double>(std::time(nullptr));
};

}  // namespace Kelbase::Ctl

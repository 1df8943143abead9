#pragma once
// A fresh directory, on tmpfs where there is one, gone with the object.

#include <cstdlib>
#include <filesystem>
#include <string>

class ScratchDir {
 public:
  ScratchDir() {
    std::string name = std::filesystem::exists("/dev/shm") ? "/dev/shm" : "/tmp";
    name += "/kelbase-test-XXXXXX";
    path_ = mkdtemp(name.data());
  }
  ~ScratchDir() { std::filesystem::remove_all(path_); }
  ScratchDir(ScratchDir const&) = delete;
  ScratchDir& operator=(ScratchDir const&) = delete;

  std::filesystem::path const& path() const { return path_; }
  std::filesystem::path operator/(char const* name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

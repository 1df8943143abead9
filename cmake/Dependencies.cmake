# Every dependency is a Debian package (packaging/packages-*.txt).
find_package(PkgConfig REQUIRED)
find_package(absl REQUIRED)
find_package(fmt REQUIRED)
find_package(Boost REQUIRED)
if(BUILD_TESTING)
  find_package(GTest REQUIRED)
endif()
find_package(CLI11 REQUIRED)
find_package(nlohmann_json REQUIRED)
pkg_check_modules(lmdb REQUIRED IMPORTED_TARGET lmdb)
pkg_check_modules(mnl REQUIRED IMPORTED_TARGET libmnl)
pkg_check_modules(systemd REQUIRED IMPORTED_TARGET libsystemd)
pkg_check_modules(netsnmp REQUIRED netsnmp-agent)

# The agent libraries alone: the daemon brings its own MIB modules.
add_library(OvoNetSnmp INTERFACE)
target_link_libraries(OvoNetSnmp INTERFACE netsnmpagent netsnmp)

#include "benchmarks/stub/rows.h"

#include <cstdlib>

#include <arpa/inet.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Stub {
namespace {

std::span<Row const> mapped(char const* path) {
  if (path == nullptr) return {};
  int const fd = ::open(path, O_RDONLY | O_CLOEXEC);
  struct stat info {};
  if (fd < 0 || ::fstat(fd, &info) != 0 || info.st_size == 0) return {};
  auto const size = static_cast<std::size_t>(info.st_size);
  // MAP_POPULATE: no request pays for a page that is met for the first time.
  void* const at = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_POPULATE, fd, 0);
  ::close(fd);
  if (at == MAP_FAILED) return {};
  return {static_cast<Row const*>(at), size / sizeof(Row)};
}

void setAddress(netsnmp_variable_list* variable, std::uint32_t value) {
  std::uint32_t const octets = ::htonl(value);
  snmp_set_var_typed_value(variable, ASN_IPADDRESS, &octets, sizeof octets);
}

}  // namespace

std::span<Row const> rows() {
  static std::span<Row const> const all = mapped(std::getenv("STUB_ROWS"));
  return all;
}

void setValue(netsnmp_variable_list* variable, Row const& row, unsigned column) {
  switch (column) {
    case 1:
      return setAddress(variable, row.dest);
    case 2:
      return setAddress(variable, row.mask);
    case 4:
      return setAddress(variable, row.nextHop);
    case 9: {
      // zeroDotZero, as this system's module tells it.
      constexpr oid none[] = {0, 0};
      snmp_set_var_typed_value(variable, ASN_OBJECT_ID, none, sizeof none);
      return;
    }
    default:
      break;
  }
  // By column, from ipCidrRouteTos(3) and ipCidrRouteIfIndex(5) to ipCidrRouteStatus(16) (RFC
  // 4292); those that are no numbers have been set above.
  int const numbers[columnMax + 1] = {
      0,  0,  0,  0, 0, row.ifIndex, 1, row.protocol, -1, 0, 0, row.metric, row.preference,
      -1, -1, -1, 1};
  snmp_set_var_typed_integer(variable, ASN_INTEGER, numbers[column]);
}

}  // namespace Stub

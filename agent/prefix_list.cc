#include "agent/prefix_list.h"

namespace IpSnmp {

bool PrefixList::prefixDel(Dovel::Prefix const& prefix) {
  bool const value = this->prefix(prefix);
  prefix_.del(prefix);
  return value;
}

void PrefixList::prefixDelAll() {
  // Every route may wait for one interface: while nobody listens, they are not erased one by one.
  if (isHeard()) {
    prefix_.delAll();
  } else {
    // Not announced, which nobody can tell.
    prefix_.map().clear();
  }
}

}  // namespace IpSnmp

#pragma once
// The names that every collection of the cache entities has. Within an entity that has its
// NotifieeConst and its `notifiees_` above,
//
//   IP_SNMP_COLLECTION(arpTable, ArpTable, 3, OrderedByKey<ArpTableIndex, ArpTableEntry>);
//
// declares for the collection `arpTable`, the entity's attribute number 258 + 3:
//
//   ArpTableMap, ArpTableIterator, ArpTableIteratorConst
//   arpTableAttributeId
//   arpTable(key)          the entry, or null
//   arpTableIterator()     on the first entry; as arpTable(), const of a const entity
//   arpTableMap()          for the other ways to look: at(), atOrAfter(), size()
//   arpTableDel(key)       no effect when there is no such entry
//   arpTableDelAll()       one by one
//   arpTable_              the announced map itself, private: arpTableIs() is the entity's to write
//
// Every entry that comes or goes is announced to onArpTable(key).

#include "platform/mav/announced_map.h"
#include "platform/mav/entity.h"

namespace IpSnmp {

/// Entries in key order.
template <class Key, class Entry>
using OrderedByKey = Mav::OrderedMap<Key, Mav::Ptr<Entry>>;

}  // namespace IpSnmp

#define IP_SNMP_COLLECTION(attribute, Attribute, ordinal, ...)                                \
 public:                                                                                      \
  using Attribute##Map = __VA_ARGS__;                                                         \
  using Attribute##Iterator = Attribute##Map::Iterator;                                       \
  using Attribute##IteratorConst = Attribute##Map::IteratorConst;                             \
  static constexpr Mav::AttributeId attribute##AttributeId = Mav::firstAttributeId + ordinal; \
                                                                                              \
  Attribute##Map::MappedConst attribute(Attribute##Map::Key const& key) const {               \
    return attribute##_.map().get(key);                                                       \
  }                                                                                           \
  Attribute##Map::Mapped attribute(Attribute##Map::Key const& key) {                          \
    return attribute##_.map().get(key);                                                       \
  }                                                                                           \
  Attribute##IteratorConst attribute##Iterator() const { return attribute##_.map().first(); } \
  Attribute##Iterator attribute##Iterator() { return attribute##_.map().first(); }            \
  Attribute##Map const& attribute##Map() const { return attribute##_.map(); }                 \
  void attribute##Del(Attribute##Map::Key const& key) { attribute##_.del(key); }              \
  void attribute##DelAll() { attribute##_.delAll(); }                                         \
                                                                                              \
 private:                                                                                     \
  Mav::AnnouncedMap<Attribute##Map, NotifieeConst, attribute##AttributeId,                    \
                    &NotifieeConst::on##Attribute, &NotifieeConst::on##Attribute>             \
      attribute##_ {                                                                          \
    notifiees_                                                                                \
  }

#pragma once
// What iproute2 6.1 printed in a namespace with `lo` and a veth pair: v0 up without a carrier, v1
// down; IPv4 forwarding on.

namespace Kelbase::Ctl::Samples {

inline constexpr char const* links =
    R"([{"ifindex":1,"ifname":"lo","flags":["LOOPBACK","UP","LOWER_UP"],"mtu":65536,"qdisc":"noqueue","operstate":"UNKNOWN","linkmode":"DEFAULT","group":"default","txqlen":1000,"link_type":"loopback","address":"00:00:00:00:00:00","broadcast":"00:00:00:00:00:00"},{"ifindex":2,"link":"v0","ifname":"v1","flags":["BROADCAST","MULTICAST"],"mtu":1500,"qdisc":"noop","operstate":"DOWN","linkmode":"DEFAULT","group":"default","txqlen":1000,"link_type":"ether","address":"da:aa:41:81:05:cf","broadcast":"ff:ff:ff:ff:ff:ff"},{"ifindex":3,"link":"v1","ifname":"v0","flags":["NO-CARRIER","BROADCAST","MULTICAST","UP","M-DOWN"],"mtu":1500,"qdisc":"noqueue","operstate":"LOWERLAYERDOWN","linkmode":"DEFAULT","group":"default","txqlen":1000,"link_type":"ether","address":"52:2d:47:68:05:e8","broadcast":"ff:ff:ff:ff:ff:ff"}]
)";

// `ip -json address show up`: the link that is down is an empty object.
inline constexpr char const* addressesUp =
    R"([{"ifindex":1,"ifname":"lo","flags":["LOOPBACK","UP","LOWER_UP"],"mtu":65536,"link_type":"loopback","addr_info":[{"family":"inet","local":"127.0.0.1","prefixlen":8,"scope":"host","label":"lo","valid_life_time":4294967295,"preferred_life_time":4294967295}]},{},{"ifindex":3,"link":"v1","ifname":"v0","flags":["NO-CARRIER","BROADCAST","MULTICAST","UP","M-DOWN"],"mtu":1500,"link_type":"ether","addr_info":[]}]
)";

// A veth with an address, another one with a peer, one that another host has too, and one that is
// no longer preferred.
inline constexpr char const* addresses =
    R"([{"ifindex":3,"link":"v1","ifname":"v0","flags":["BROADCAST","MULTICAST","UP","LOWER_UP"],"mtu":1500,"link_type":"ether","addr_info":[{"family":"inet","local":"10.0.0.1","prefixlen":24,"scope":"global","label":"v0","valid_life_time":4294967295,"preferred_life_time":4294967295},{"family":"inet","local":"10.0.0.2","address":"10.9.0.1","prefixlen":32,"scope":"global","secondary":true,"label":"v0:1","valid_life_time":4294967295,"preferred_life_time":4294967295},{"family":"inet6","local":"2001:db8::1","prefixlen":64,"scope":"global","tentative":true,"dadfailed":true,"valid_life_time":4294967295,"preferred_life_time":4294967295},{"family":"inet6","local":"2001:db8::2","address":"2001:db8::3","prefixlen":128,"scope":"global","deprecated":true,"valid_life_time":4294967295,"preferred_life_time":0},{}]}]
)";

inline constexpr char const* netconf4 =
    R"([{"family":"inet","interface":"lo","forwarding":false,"rp_filter":"off","mc_forwarding":false,"proxy_neigh":false,"ignore_routes_with_linkdown":false},{"family":"inet","interface":"all","forwarding":true,"rp_filter":"off","mc_forwarding":false,"proxy_neigh":false,"ignore_routes_with_linkdown":false},{"family":"inet","interface":"default","forwarding":true,"rp_filter":"off","mc_forwarding":false,"proxy_neigh":false,"ignore_routes_with_linkdown":false}]
)";

// A router with eth0 and eth1, routes of each kind, of other tables and of IPv6, and the nexthop
// objects and groups that some of them name: `ip -json -details route show table all`, `ip -json
// nexthop` and `ip -json link`.
inline constexpr char const* routes =
    R"([{"type":"unicast","dst":"9.0.0.0/8","gateway":"10.0.0.9","dev":"eth0","table":"100","protocol":"boot","scope":"global","flags":[]},
{"type":"unicast","dst":"default","gateway":"10.0.0.2","dev":"eth0","table":"main","protocol":"bgp","scope":"global","metric":20,"flags":[]},
{"type":"unicast","dst":"1.2.3.0/24","table":"main","protocol":"boot","scope":"global","flags":[],"nexthops":[{"gateway":"10.0.0.2","dev":"eth0","weight":1,"flags":[]},{"gateway":"10.0.1.2","dev":"eth1","weight":3,"flags":[]}]},
{"type":"unicast","dst":"1.2.3.4","encap":"ip","id":3,"src":"0.0.0.0","dst":"10.0.0.9","ttl":0,"tos":0,"gateway":"10.0.0.2","dev":"eth0","table":"main","protocol":"boot","scope":"global","flags":[]},
{"type":"unicast","dst":"2.0.0.0/8","nhid":7,"gateway":"10.0.0.3","dev":"eth0","table":"main","protocol":"boot","scope":"global","flags":[],"nh_info":{"id":7,"gateway":"10.0.0.3","dev":"eth0","scope":"link","protocol":"unspec","flags":[]}},
{"type":"unicast","dst":"3.0.0.0/8","nhid":9,"table":"main","protocol":"boot","scope":"global","flags":[],"nh_info":{"id":9,"group":[{"id":7},{"id":8,"weight":5}],"scope":"global","protocol":"unspec","flags":[]},"nexthops":[{"gateway":"10.0.0.3","dev":"eth0","weight":1,"flags":[]},{"dev":"eth1","weight":5,"flags":[]}]},
{"type":"blackhole","dst":"4.0.0.0/8","nhid":10,"dev":"lo","table":"main","protocol":"boot","scope":"global","flags":[],"nh_info":{"id":10,"scope":"global","blackhole":null,"protocol":"unspec","flags":[]}},
{"type":"unicast","dst":"5.0.0.0/8","nhid":13,"table":"main","protocol":"boot","scope":"global","flags":[],"nh_info":{"id":13,"group":[{"id":11},{"id":12}],"scope":"global","protocol":"unspec","flags":[]},"nexthops":[{"via":{"family":"inet6","host":"fe80::1"},"dev":"eth0","weight":1,"flags":[]},{"via":{"family":"inet6","host":"fe80::2"},"dev":"eth1","weight":1,"flags":[]}]},
{"type":"unicast","dst":"6.0.0.0/8","via":{"family":"inet6","host":"fe80::9"},"dev":"eth0","table":"main","protocol":"boot","scope":"global","flags":[]},
{"type":"unicast","dst":"6.1.0.0/16","via":{"family":"inet6","host":"fe80::9"},"dev":"eth0","table":"main","protocol":"ospf","scope":"global","flags":[]},
{"type":"blackhole","dst":"7.0.0.0/8","table":"main","protocol":"boot","scope":"global","flags":[]},
{"type":"unreachable","dst":"8.0.0.0/8","table":"main","protocol":"boot","scope":"global","metric":9,"flags":[]},
{"type":"unicast","dst":"9.0.0.0/8","tos":"0x10","gateway":"10.0.0.9","dev":"eth0","table":"main","protocol":"201","scope":"global","flags":[]},
{"type":"unicast","dst":"10.0.0.0/24","dev":"eth0","table":"main","protocol":"kernel","scope":"link","prefsrc":"10.0.0.1","flags":[]},
{"type":"unicast","dst":"10.0.1.0/24","dev":"eth1","table":"main","protocol":"kernel","scope":"link","prefsrc":"10.0.1.1","flags":[]},
{"type":"local","dst":"10.0.0.1","dev":"eth0","table":"local","protocol":"kernel","scope":"host","prefsrc":"10.0.0.1","flags":[]},
{"type":"broadcast","dst":"10.0.0.255","dev":"eth0","table":"local","protocol":"kernel","scope":"link","prefsrc":"10.0.0.1","flags":[]},
{"type":"unicast","dst":"fe80::/64","dev":"eth0","table":"main","protocol":"kernel","scope":"global","metric":256,"flags":[],"pref":"medium"},
{"type":"local","dst":"::1","dev":"lo","table":"local","protocol":"kernel","scope":"global","metric":0,"flags":[],"pref":"medium"},
{"type":"multicast","dst":"ff00::/8","dev":"eth0","table":"local","protocol":"kernel","scope":"global","metric":256,"flags":[],"pref":"medium"}]
)";

inline constexpr char const* nexthops =
    R"([{"id":7,"encap":"mpls","dst":"100","gateway":"10.0.0.3","dev":"eth0","scope":"link","flags":[]},{"id":8,"dev":"eth1","scope":"host","flags":[]},{"id":9,"group":[{"id":7},{"id":8,"weight":5}],"flags":[]},{"id":10,"blackhole":null,"flags":[]},{"id":11,"gateway":"fe80::1","dev":"eth0","scope":"link","flags":[]},{"id":12,"gateway":"fe80::2","dev":"eth1","scope":"link","flags":[]},{"id":13,"group":[{"id":11},{"id":12}],"flags":[]}]
)";

inline constexpr char const* routeLinks =
    R"([{"ifindex":1,"ifname":"lo","flags":["LOOPBACK","UP","LOWER_UP"],"mtu":65536,"qdisc":"noqueue","operstate":"UNKNOWN","linkmode":"DEFAULT","group":"default","txqlen":1000,"link_type":"loopback","address":"00:00:00:00:00:00","broadcast":"00:00:00:00:00:00"},
{"ifindex":3,"link":"eth0f","ifname":"eth0","flags":["BROADCAST","MULTICAST","UP","LOWER_UP"],"mtu":1500,"qdisc":"noqueue","operstate":"UP","linkmode":"DEFAULT","group":"default","txqlen":1000,"link_type":"ether","address":"6e:02:1b:39:54:6b","broadcast":"ff:ff:ff:ff:ff:ff"},
{"ifindex":5,"link":"eth1f","ifname":"eth1","flags":["BROADCAST","MULTICAST","UP","LOWER_UP"],"mtu":1500,"qdisc":"noqueue","operstate":"UP","linkmode":"DEFAULT","group":"default","txqlen":1000,"link_type":"ether","address":"d6:38:96:c8:d1:30","broadcast":"ff:ff:ff:ff:ff:ff"}]
)";

// Of each state, of IPv6, and of a tunnel, whose link address is an IPv4 address.
inline constexpr char const* neighbours =
    R"([{"dst":"10.0.0.2","dev":"eth0","lladdr":"02:00:00:00:00:02","state":["STALE"]},{"dst":"10.0.0.3","dev":"eth0","lladdr":"02:00:00:00:00:03","state":["PERMANENT"]},{"dst":"10.0.0.4","dev":"eth0","state":["FAILED"]},{"dst":"10.0.0.5","dev":"eth0","lladdr":"02:00:00:00:00:05","state":["NOARP"]},{"dst":"10.0.0.6","dev":"eth1","lladdr":"10.9.9.9","state":["PERMANENT"]},{"dst":"fe80::1","dev":"eth0","lladdr":"02:00:00:00:00:01","router":null,"state":["REACHABLE"]}]
)";

}  // namespace Kelbase::Ctl::Samples

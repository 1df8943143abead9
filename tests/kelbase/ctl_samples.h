#pragma once
// What iproute2 6.1 printed in a namespace with `lo` and a veth pair: v0 up without a carrier, v1
// down; IPv4 forwarding on.

namespace Kelbase::Ctl::Samples {

inline constexpr char const* links =
    R"([{"ifindex":1,"ifname":"lo","flags":["LOOPBACK","UP","LOWER_UP"],"mtu":65536,"qdisc":"noqueue","operstate":"UNKNOWN","linkmode":"DEFAULT","group":"default","txqlen":1000,"link_type":"loopback","address":"00:00:00:00:00:00","broadcast":"00:00:00:00:00:00"},{"ifindex":2,"link":"v0","ifname":"v1","flags":["BROADCAST","MULTICAST"],"mtu":1500,"qdisc":"noop","operstate":"DOWN","linkmode":"DEFAULT","group":"default","txqlen":1000,"link_type":"ether","address":"da:aa:41:81:05:cf","broadcast":"ff:ff:ff:ff:ff:ff"},{"ifindex":3,"link":"v1","ifname":"v0","flags":["NO-CARRIER","BROADCAST","MULTICAST","UP","M-DOWN"],"mtu":1500,"qdisc":"noqueue","operstate":"LOWERLAYERDOWN","linkmode":"DEFAULT","group":"default","txqlen":1000,"link_type":"ether","address":"52:2d:47:68:05:e8","broadcast":"ff:ff:ff:ff:ff:ff"}]
)";

// `ip -json -pretty address show up`: the link that is down is an empty object.
inline constexpr char const* addressesUp = R"([ {
        "ifindex": 1,
        "ifname": "lo",
        "flags": [ "LOOPBACK","UP","LOWER_UP" ],
        "mtu": 65536,
        "link_type": "loopback",
        "addr_info": [ {
                "family": "inet",
                "local": "127.0.0.1",
                "prefixlen": 8,
                "scope": "host",
                "label": "lo",
                "valid_life_time": 4294967295,
                "preferred_life_time": 4294967295
            } ]
    },{},{
        "ifindex": 3,
        "link": "v1",
        "ifname": "v0",
        "flags": [ "NO-CARRIER","BROADCAST","MULTICAST","UP","M-DOWN" ],
        "mtu": 1500,
        "link_type": "ether",
        "addr_info": [ ]
    } ]
)";

// A veth with an address, another one with a peer, one that another host has too, and one that is
// no longer preferred.
inline constexpr char const* addresses =
    R"([{"ifindex":3,"link":"v1","ifname":"v0","flags":["BROADCAST","MULTICAST","UP","LOWER_UP"],"mtu":1500,"link_type":"ether","addr_info":[{"family":"inet","local":"10.0.0.1","prefixlen":24,"scope":"global","label":"v0","valid_life_time":4294967295,"preferred_life_time":4294967295},{"family":"inet","local":"10.0.0.2","address":"10.9.0.1","prefixlen":32,"scope":"global","secondary":true,"label":"v0:1","valid_life_time":4294967295,"preferred_life_time":4294967295},{"family":"inet6","local":"2001:db8::1","prefixlen":64,"scope":"global","tentative":true,"dadfailed":true,"valid_life_time":4294967295,"preferred_life_time":4294967295},{"family":"inet6","local":"2001:db8::2","address":"2001:db8::3","prefixlen":128,"scope":"global","deprecated":true,"valid_life_time":4294967295,"preferred_life_time":0},{}]}]
)";

// `ip -4 -json address`: no link_type, and v1 is left out.
inline constexpr char const* addresses4 =
    R"([{"ifindex":1,"ifname":"lo","flags":["LOOPBACK","UP","LOWER_UP"],"mtu":65536,"qdisc":"noqueue","operstate":"UNKNOWN","group":"default","txqlen":1000,"addr_info":[{"family":"inet","local":"127.0.0.1","prefixlen":8,"scope":"host","label":"lo","valid_life_time":4294967295,"preferred_life_time":4294967295}]}]
)";

inline constexpr char const* netconf4 =
    R"([{"family":"inet","interface":"lo","forwarding":false,"rp_filter":"off","mc_forwarding":false,"proxy_neigh":false,"ignore_routes_with_linkdown":false},{"family":"inet","interface":"all","forwarding":true,"rp_filter":"off","mc_forwarding":false,"proxy_neigh":false,"ignore_routes_with_linkdown":false},{"family":"inet","interface":"default","forwarding":true,"rp_filter":"off","mc_forwarding":false,"proxy_neigh":false,"ignore_routes_with_linkdown":false}]
)";

inline constexpr char const* netconf6 =
    R"([{"family":"inet6","interface":"lo","forwarding":false,"mc_forwarding":false,"proxy_neigh":false,"ignore_routes_with_linkdown":false},{"family":"inet6","interface":"all","forwarding":false,"mc_forwarding":false,"proxy_neigh":false,"ignore_routes_with_linkdown":false},{"family":"inet6","interface":"default","forwarding":false,"mc_forwarding":false,"proxy_neigh":false,"ignore_routes_with_linkdown":false}]
)";

}  // namespace Kelbase::Ctl::Samples

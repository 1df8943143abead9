#include "stats/sw_fwd_stats.h"

#include <optional>
#include <string>
#include <utility>

#include <absl/cleanup/cleanup.h>

#include "platform/mav/time.h"
#include "stats/stats_file.h"
#include "stats/stats_scan.h"

namespace Ip {

namespace {

std::optional<std::string> readText(StatsFile file) {
  std::string const& path = statsPath(file);
  std::string text;
  if (readStatsFile(path, text)) return text;
  MAV_TRACE_AS(statsTrace(), 0, "doRead", "Failed to open " << path);
  return std::nullopt;
}

bool readIpv4(SwFwdStatsData& data) {
  auto snmp = readText(StatsFile::snmp);
  if (!snmp) return false;
  std::size_t const headerLength = scanSnmp(*std::move(snmp), data);
  // Told each time that a manager asks: lines that repeat are thinned (Mav::LineThinner).
  if (headerLength != snmpHeaderLength) {
    MAV_TRACE_AS(statsTrace(), 0, "doRead", "Header is " << headerLength);
    return false;
  }
  // Both files or none: no snapshot has one half older than the other.
  auto netstat = readText(StatsFile::netstat);
  if (!netstat) return false;
  scanNetstat(*std::move(netstat), data);
  return true;
}

bool readIpv6(SwFwdStatsData& data) {
  auto snmp6 = readText(StatsFile::snmp6);
  if (!snmp6) return false;
  scanSnmp6(*std::move(snmp6), data);
  return true;
}

bool readFiles(IpVersion version, SwFwdStatsData& data) {
  switch (version) {
    case ipVersion4:
      return readIpv4(data);
    case ipVersion6:
      return readIpv6(data);
    case ipVersionUnknown:
      break;
  }
  return false;
}

}  // namespace

void SwFwdStats::dataIs(SwFwdStatsData const& data) {
  if (data_ == data) return;
  data_ = data;
  notify(dataAttributeId, &NotifieeConst::onData);
}

void SwFwdStats::lastUpdateIs(double time) {
  if (lastUpdate_ == time) return;
  lastUpdate_ = time;
  notify(lastUpdateAttributeId, &NotifieeConst::onLastUpdate);
}

std::uint64_t SwFwdStats::inForwDatagrams() const {
  SwFwdStatsData const& data = fresh();
  // By the same Case diagram as below: where a route is sought, the datagram is forwarded or
  // counted for want of one.
  return data.forwDatagrams() + data.inNoRoutes();
}

std::uint64_t SwFwdStats::fragReqds() const {
  SwFwdStatsData const& data = fresh();
  return data.fragOKs() + data.fragFails();
}

std::uint64_t SwFwdStats::outTransmits() const {
  SwFwdStatsData const& data = fresh();
  // By the Case diagram of RFC 4293: what was forwarded, sent or made by fragmentation, less what
  // was dropped, and less the whole datagrams that fragments have replaced.
  return data.forwDatagrams() + data.outRequests() + data.fragCreates() - data.outNoRoutes() -
         data.fragFails() - data.fragOKs() - data.outDiscards();
}

void SwFwdStats::doFreshen() const {
  // Before the first read lastUpdate_ is 0, long ago by the machine's own clock.
  if (Mav::now() - lastUpdate_ > freshness) doRead();
}

void SwFwdStats::doRead() const {
  if (committing_) return;
  // What a file does not tell keeps the value that it had.
  SwFwdStatsData data = data_;
  // A cache: reading is const to who asks for a counter.
  if (readFiles(ipVersion_, data)) const_cast<SwFwdStats*>(this)->commit(data);
}

void SwFwdStats::commit(SwFwdStatsData const& data) {
  // lastUpdate follows the data: until then a notifiee's question would start another read, whose
  // data would differ under traffic, and so on without end.
  committing_ = true;
  absl::Cleanup const committed = [this] { committing_ = false; };
  dataIs(data);
  lastUpdateIs(Mav::now());
}

Mav::Ptr<SwFwdStats> swFwdStatsFactory(IpVersion version) {
  return Mav::makeObject<SwFwdStats>(version);
}

}  // namespace Ip

#include "handlers/brivet/kelbase_health.h"

#include <algorithm>
#include <array>

#include "handlers/brivet/brivet_kelbase_records_table.h"
#include "handlers/table/table_column.h"
#include "handlers/unit_registration.h"
#include "model/health.h"
#include "platform/snmp/callback.h"
#include "platform/snmp/handler_registration.h"
#include "platform/snmp/set_value.h"
#include "platform/snmp/snmp_util.h"

namespace {

namespace Conversion = IpSnmp::Conversion;
using IpSnmp::Health;
using IpSnmp::HealthData;

/// One scalar as data: its number, its type and the member of a sample that it tells.
struct HealthScalar {
  oid number;  // below the objects' node
  char const* name;
  unsigned char type;
  std::int32_t (*convert)(HealthData const& data, unsigned char* buffer, std::int32_t size);
};

template <class Conv, auto member>
constexpr HealthScalar scalar(oid number, char const* name) {
  return {number, name, Conv::type,
          [](HealthData const& data, unsigned char* buffer, std::int32_t size) {
            return Conv::convert(data.*member, buffer, size);
          }};
}

/// SNMPv2-TC's TruthValue: true(1), false(2).
template <bool HealthData::*member>
constexpr HealthScalar truth(oid number, char const* name) {
  using Conv = Conversion::S32ToAsnInteger;
  return {number, name, Conv::type,
          [](HealthData const& data, unsigned char* buffer, std::int32_t size) {
            return Conv::convert(data.*member ? 1 : 2, buffer, size);
          }};
}

// clang-format off
constexpr std::array scalars{
    truth<&HealthData::publisherAlive>(1, "brivetKelbasePublisherAlive"),
    scalar<Conversion::SecondsToTimeTicks, &HealthData::publisherUpTime>(2, "brivetKelbasePublisherUpTime"),
    scalar<Conversion::U32ToAsnUnsigned, &HealthData::age>(3, "brivetKelbaseStateAge"),
    truth<&HealthData::agentInSync>(4, "brivetKelbaseAgentInSync"),
    scalar<Conversion::U64ToCounter64, &HealthData::generation>(5, "brivetKelbaseGeneration"),
    scalar<Conversion::U64ToCounter32, &HealthData::overruns>(6, "brivetKelbaseOverruns"),
    scalar<Conversion::U64ToCounter32, &HealthData::dumps>(7, "brivetKelbaseDumps"),
    scalar<Conversion::U64ToCounter32, &HealthData::rejected>(8, "brivetKelbaseRejected")};
// clang-format on

// brivetKelbaseObjects. A scalar's own number comes behind it; net-snmp adds the .0 of the
// instance.
constexpr std::array<oid, 10> objectsOid{1, 3, 6, 1, 4, 1, 99999, 3, 2, 1};

int answer(HealthScalar const& scalar, Health const* health, int mode,
           netsnmp_request_info* requests) {
  // The longest value is a Counter64, of two words.
  std::array<unsigned char, 16> buffer;
  // Nothing else comes here: net-snmp refuses a SET of what is registered read-only, and its scalar
  // helper makes a GET of a GETNEXT.
  if (health && mode == MODE_GET) {
    auto const length = scalar.convert(health->data(), buffer.data(), buffer.size());
    if (Snmp::setVarTypedValue(requests->requestvb, scalar.type, buffer.data(), length)) {
      return SNMP_ERR_NOERROR;
    }
  }
  netsnmp_request_set_error(requests, SNMP_ERR_GENERR);
  return SNMP_ERR_GENERR;
}

class KelbaseHealth_HandlerRegistration : public Snmp::HandlerRegistration {
 public:
  void registerHandlers() override { init_KelbaseHealth(); }
};

KelbaseHealth_HandlerRegistration registration;
Snmp::AutoRegistree const registree(&registration);

}  // namespace

void init_KelbaseHealth() {
  Snmp::debugInitializing("KelbaseHealth", __func__, __LINE__);
  IpSnmp::traceInitializing(__func__, objectsOid);
  // Null where nothing is mounted: the scalars are there all the same, and answer genErr.
  auto const health = Mav::objectCast<Health>(SnmpUtil::getEntityRelative(Health::path));
  for (auto const& scalar : scalars) {
    // On the stack: net-snmp copies it.
    std::array<oid, objectsOid.size() + 1> objectId;
    *std::copy(objectsOid.begin(), objectsOid.end(), objectId.begin()) = scalar.number;
    IpSnmp::registerScalar(scalar.name, handle_kelbaseHealth, objectId, HANDLER_CAN_RONLY,
                           health.get(), &scalar);
  }
  initialize_table_brivetKelbaseRecordsTable();
}

int handle_kelbaseHealth(netsnmp_mib_handler* handler,
                         netsnmp_handler_registration* scalarRegistration,
                         netsnmp_agent_request_info* request,
                         netsnmp_request_info* requests) noexcept {
  return Snmp::guarded(__func__, requests, [&] {
    // One callback serves eight objects: which of them it is, the registration has brought along.
    return answer(*static_cast<HealthScalar const*>(handler->myvoid),
                  static_cast<Health const*>(scalarRegistration->my_reg_void), request->mode,
                  requests);
  });
}

#include "platform/snmp/absent_row_handler.h"

#include <algorithm>
#include <array>

#include "platform/snmp/callback.h"

namespace Snmp {

namespace {

constexpr char const* handlerName = "absent_row";
constexpr oid entry = 1;  // TABLE.1.COLUMN.INSTANCE

/// One request, in the terms of its table.
class TableRequest {
 public:
  TableRequest(netsnmp_handler_registration const& registration, netsnmp_request_info& request)
      : request_(request), table_(netsnmp_extract_table_info(&request)) {
    auto const& variable = *request.requestvb;
    Instance const name(variable.name, variable.name_length);
    Instance const below = name.subspan(std::min(registration.rootoid_len, name.size()));
    if (!table_) return;
    // The table helper moves a GETNEXT that stands before a column to that column, without a
    // change of its name: such a name has no instance in the column, and all its rows follow.
    std::array<oid, 2> const column{entry, table_->colnum};
    if (below.size() > column.size() && std::equal(column.begin(), column.end(), below.begin())) {
      instance_ = below.subspan(column.size());
    }
  }

  /// False of what the table helper has settled.
  bool isOpen() const { return table_ && request_.processed == 0; }
  Instance instance() const { return instance_; }

  void hint(SortedRows const& rows) const {
    bool const inclusive = request_.inclusive != 0 && !instance_.empty();
    bool const set =
        rows.source && rows.setHint(rows.source, instance_, inclusive, table_->indexes);
    // A count that is not the table's makes it no hint.
    table_->number_indexes = set ? count(table_->indexes) : 0;
  }

 private:
  static unsigned count(netsnmp_variable_list const* variables) {
    unsigned number = 0;
    for (; variables; variables = variables->next_variable) ++number;
    return number;
  }

  netsnmp_request_info& request_;
  netsnmp_table_request_info* const table_;
  Instance instance_;
};

/// Takes a request out of its list while it lives.
class Alone {
 public:
  explicit Alone(netsnmp_request_info& request)
      : request_(request), next_(request.next), prev_(request.prev) {
    request.next = nullptr;
    request.prev = nullptr;
  }
  ~Alone() {
    request_.next = next_;
    request_.prev = prev_;
  }
  Alone(Alone const&) = delete;
  Alone& operator=(Alone const&) = delete;

 private:
  netsnmp_request_info& request_;
  netsnmp_request_info* const next_;
  netsnmp_request_info* const prev_;
};

int handOn(netsnmp_mib_handler* handler, netsnmp_handler_registration* registration,
           netsnmp_agent_request_info* info, netsnmp_request_info* request) {
  Alone const alone(*request);
  return netsnmp_call_next_handler(handler, registration, info, request);
}

int settle(netsnmp_mib_handler* handler, netsnmp_handler_registration* registration,
           netsnmp_agent_request_info* info, netsnmp_request_info* request) {
  auto const& rows = *static_cast<SortedRows const*>(handler->myvoid);
  TableRequest const tableRequest(*registration, *request);
  if (!tableRequest.isOpen()) return SNMP_ERR_NOERROR;
  if (info->mode == MODE_GETNEXT) {
    tableRequest.hint(rows);
    return handOn(handler, registration, info, request);
  }
  bool const present = rows.source && rows.contains(rows.source, tableRequest.instance());
  if (present) return handOn(handler, registration, info, request);
  if (info->mode == MODE_GET) {
    netsnmp_request_set_error(request, SNMP_NOSUCHINSTANCE);
    return SNMP_ERR_NOERROR;
  }
  return handOn(handler->next, registration, info, request);
}

int handleRequests(netsnmp_mib_handler* handler, netsnmp_handler_registration* registration,
                   netsnmp_agent_request_info* info, netsnmp_request_info* requests) noexcept {
  return guarded(handlerName, requests, [&] {
    int status = SNMP_ERR_NOERROR;
    for (auto* request = requests; request; request = request->next) {
      int const one = settle(handler, registration, info, request);
      if (status == SNMP_ERR_NOERROR) status = one;
    }
    return status;
  });
}

}  // namespace

netsnmp_mib_handler* createAbsentRowHandler(SortedRows* rows) {
  auto* const handler = netsnmp_create_handler(handlerName, handleRequests);
  if (handler) handler->myvoid = rows;
  return handler;
}

}  // namespace Snmp

#include "handlers/table/table_requests.h"

#include <algorithm>

#include "handlers/trace.h"
#include "handlers/unit_registration.h"
#include "platform/snmp/registrations.h"
#include "platform/snmp/set_value.h"

namespace IpSnmp {

namespace {

#define TABLE_TRACE(level, stream) MAV_TRACE_AS(snmpTraceHandle(), level, handler_, stream)

/// One call of a table's handler.
class TableCall {
 public:
  TableCall(TableDescription const& table, std::string_view handler, netsnmp_request_info* requests)
      : table_(table), handler_(handler), requests_(requests) {}

  int get() const;
  int refuse() const;

 private:
  enum class Outcome { answered, stop, failed };

  bool isProcessed(netsnmp_request_info const& request) const;
  Outcome get(netsnmp_request_info& request) const;
  Outcome answer(netsnmp_request_info& request, TableColumn const& column, void const* row) const;
  TableColumn const* column(unsigned number) const;
  void traceInvalidColumn(unsigned number) const {
    TABLE_TRACE(0, table_.name << " invalid column " << number);
  }
  int generalError() const {
    netsnmp_request_set_error(requests_, SNMP_ERR_GENERR);
    return SNMP_ERR_GENERR;
  }

  TableDescription const& table_;
  std::string_view const handler_;
  netsnmp_request_info* const requests_;
};

unsigned columnNumber(netsnmp_request_info& request) {
  auto const* const info = netsnmp_extract_table_info(&request);
  return info ? info->colnum : 0;
}

bool TableCall::isProcessed(netsnmp_request_info const& request) const {
  if (request.processed == 0) return false;
  TABLE_TRACE(
      2, handler_ << ": request " << static_cast<void const*>(&request) << " already processed");
  return true;
}

TableColumn const* TableCall::column(unsigned number) const {
  // From the front: a table has 45 columns at most.
  auto const found = std::find_if(table_.columns.begin(), table_.columns.end(),
                                  [number](auto const& column) { return column.number == number; });
  return found == table_.columns.end() ? nullptr : &*found;
}

int TableCall::get() const {
  for (auto* request = requests_; request; request = request->next) {
    if (isProcessed(*request)) continue;
    switch (get(*request)) {
      case Outcome::answered:
        break;
      case Outcome::stop:
        return SNMP_ERR_NOERROR;
      case Outcome::failed:
        return generalError();
    }
  }
  return SNMP_ERR_NOERROR;
}

TableCall::Outcome TableCall::get(netsnmp_request_info& request) const {
  // A list ends at the first row that is absent, and leaves what stands behind it unanswered. That
  // is why requests come one at a time (row_server.h, the serialize handler).
  auto const* const row = netsnmp_extract_iterator_context(&request);
  if (!row) {
    TABLE_TRACE(2, handler_ << ": null data context in request");
    return Outcome::stop;
  }
  // 0 where net-snmp has left no table information: no column is that.
  auto const number = columnNumber(request);
  if (auto const* const known = column(number)) return answer(request, *known, row);
  traceInvalidColumn(number);
  netsnmp_request_set_error(&request, SNMP_NOSUCHOBJECT);
  return Outcome::stop;
}

TableCall::Outcome TableCall::answer(netsnmp_request_info& request, TableColumn const& column,
                                     void const* row) const {
  if (snmpTraceHandle().enabled(2)) {
    std::ostringstream key;
    table_.printKey(key, row);
    TABLE_TRACE(2, handler_ << ": request GET for column " << column.name << ", key " << key.str());
  }
  // Not cleared: of its 64 KiB only as much is touched as the value has.
  std::array<unsigned char, columnBufferSizeMax> buffer;
  auto const length = column.convert(row, buffer.data(), column.bufferSize);
  // The column says that its value does not fit: genErr, and the other columns of the PDU with it.
  if (length < 0) {
    TABLE_TRACE(2, "handle_" << table_.name << " - " << column.conversion
                             << " failed for: " << column.attribute);
    return Outcome::failed;
  }
  // What a conversion says that it has written is not believed beyond what it was given.
  if (length > column.bufferSize) {
    TABLE_TRACE(2, "handle_" << table_.name << " - entity /<sysname>/" << table_.entityPath
                             << " length out of range: " << column.attribute << " (" << length
                             << ")");
    return Outcome::failed;
  }
  bool const set = Snmp::setVarTypedValue(request.requestvb, column.type, buffer.data(), length);
  return set ? Outcome::answered : Outcome::failed;
}

int TableCall::refuse() const {
  for (auto* request = requests_; request; request = request->next) {
    if (isProcessed(*request)) continue;
    auto const number = columnNumber(*request);
    auto const* const known = column(number);
    // Only the trace differs: to a manager both are notWritable.
    if (known && known->access == MaxAccess::readWrite) {
      TABLE_TRACE(2, handler_ << ": SET is not configured for column " << known->name);
    } else {
      traceInvalidColumn(number);
    }
    // One refusal fails the SET as a whole (RFC 3416, section 4.2.5).
    netsnmp_request_set_error(request, SNMP_ERR_NOTWRITABLE);
    break;
  }
  return SNMP_ERR_NOERROR;
}

}  // namespace

int answerTable(TableDescription const& table, std::string_view handler, int mode,
                netsnmp_request_info* requests) {
  MAV_TRACE_AS(snmpTraceHandle(), 2, handler, handler);
  MAV_TRACE_AS(snmpTraceHandle(), 2, handler, handler << ": request mode " << mode);
  TableCall const call(table, handler, requests);
  // Each phase of a SET is refused, so that its first one ends it.
  return mode == MODE_GET ? call.get() : call.refuse();
}

void registerTable(TableDescription const& table, Netsnmp_Node_Handler* handler,
                   std::unique_ptr<Snmp::IteratorTable> registered) {
  std::string const name(table.name);
  Snmp::registerTable(newRegistration(name.c_str(), handler, table.objectId, table.modes),
                      std::move(registered));
}

std::vector<unsigned> columnNumbers(TableDescription const& table) {
  std::vector<unsigned> numbers;
  for (auto const& column : table.columns) numbers.push_back(column.number);
  return numbers;
}

}  // namespace IpSnmp

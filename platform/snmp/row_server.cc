#include "platform/snmp/row_server.h"

#include <algorithm>
#include <array>

#include "platform/snmp/callback.h"

namespace Snmp {

namespace {

constexpr char const* handlerName = "row_server";
constexpr oid entry = 1;  // TABLE.1.COLUMN.INSTANCE

Instance nameOf(netsnmp_request_info const& request) {
  return {request.requestvb->name, request.requestvb->name_length};
}

Instance rootOf(netsnmp_handler_registration const& registration) {
  return {registration.rootoid, registration.rootoid_len};
}

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

/// Data of a request, under a name, while it lives.
class RequestData {
 public:
  RequestData(netsnmp_request_info& request, char const* name, void* data) : request_(request) {
    node_.name = const_cast<char*>(name);
    node_.data = data;
    node_.next = request.parent_data;
    request.parent_data = &node_;
  }
  ~RequestData() {
    auto** link = &request_.parent_data;
    while (*link && *link != &node_) link = &(*link)->next;
    if (*link) *link = node_.next;
  }
  RequestData(RequestData const&) = delete;
  RequestData& operator=(RequestData const&) = delete;

 private:
  netsnmp_request_info& request_;
  netsnmp_data_list node_{};
};

/// The mode that a table's handler sees of a GETNEXT whose row has been found.
class GetMode {
 public:
  explicit GetMode(netsnmp_agent_request_info& info) : info_(info), mode_(info.mode) {
    if (mode_ == MODE_GETNEXT) info.mode = MODE_GET;
  }
  ~GetMode() { info_.mode = mode_; }
  GetMode(GetMode const&) = delete;
  GetMode& operator=(GetMode const&) = delete;

 private:
  netsnmp_agent_request_info& info_;
  int const mode_;
};

}  // namespace

/// A row that get-first has put an iteration on, by the hint.
class RowServer::Row {
 public:
  Row(RowServer& server, netsnmp_handler_registration const& registration, unsigned column)
      : iterator_(server.iterator_), column_(column) {
    loop_ = &server.hint_;
    auto* const indexes = iterator_.get_first_data_point(&loop_, &data_, server.found_, &iterator_);
    if (loop_ == &server.hint_) loop_ = nullptr;
    if (!indexes) return;
    auto const root = rootOf(registration);
    std::array<oid, MAX_OID_LEN> prefix;
    auto* end = std::copy(root.begin(), root.end(), prefix.begin());
    *end++ = entry;
    *end++ = column;
    bool const built = build_oid_noalloc(name_.data(), name_.size(), &nameLength_, prefix.data(),
                                         static_cast<std::size_t>(end - prefix.begin()),
                                         indexes) == SNMPERR_SUCCESS;
    if (!built) nameLength_ = 0;
  }
  ~Row() {
    if (data_) iterator_.free_data_context(data_, &iterator_);
    if (loop_) iterator_.free_loop_context_at_end(loop_, &iterator_);
  }
  Row(Row const&) = delete;
  Row& operator=(Row const&) = delete;

  /// Of its cell; empty when there is no row.
  Instance name() const { return {name_.data(), nameLength_}; }
  unsigned column() const { return column_; }
  void* data() {
    if (!data_ && loop_) data_ = iterator_.make_data_context(loop_, &iterator_);
    return data_;
  }

 private:
  netsnmp_iterator_info& iterator_;
  unsigned const column_;
  void* loop_ = nullptr;
  void* data_ = nullptr;
  std::array<oid, MAX_OID_LEN> name_;
  std::size_t nameLength_ = 0;
};

int RowServer::Call::handOn(netsnmp_request_info* request) const {
  return netsnmp_call_next_handler(handler, registration, info, request);
}

RowServer::RowServer(SortedRows rows, netsnmp_iterator_info& iterator,
                     std::span<unsigned const> columns)
    : rows_(rows), iterator_(iterator), columns_(columns) {
  auto* const table = iterator.table_reginfo;
  found_ = snmp_clone_varbind(table->indexes);
  hint_.indexes = snmp_clone_varbind(table->indexes);
  hint_.reg_info = table;
  for (auto const* index = hint_.indexes; index; index = index->next_variable) {
    ++hint_.number_indexes;
  }
}

RowServer::~RowServer() {
  snmp_free_varbind(found_);
  snmp_free_varbind(hint_.indexes);
}

netsnmp_mib_handler* RowServer::createHandler() {
  auto* const handler = netsnmp_create_handler(handlerName, handle);
  if (handler) handler->myvoid = this;
  return handler;
}

int RowServer::handle(netsnmp_mib_handler* handler, netsnmp_handler_registration* registration,
                      netsnmp_agent_request_info* info, netsnmp_request_info* requests) noexcept {
  return guarded(handlerName, requests, [&] {
    auto& server = *static_cast<RowServer*>(handler->myvoid);
    Call const call{handler, registration, info};
    int status = SNMP_ERR_NOERROR;
    for (auto *request = requests, *next = request; request; request = next) {
      next = request->next;
      if (request->processed != 0) continue;
      Alone const alone(*request);
      int const one = server.settle(call, request);
      if (status == SNMP_ERR_NOERROR) status = one;
    }
    return status;
  });
}

int RowServer::settle(Call const& call, netsnmp_request_info* request) {
  if (call.info->mode == MODE_GETNEXT) return getNext(call, request);
  auto const place = named(call, *request);
  if (place.column == 0) return call.handOn(request);
  if (call.info->mode == MODE_GET) return get(call, request, place);
  return callTable(call, request, place.column, nullptr);
}

int RowServer::get(Call const& call, netsnmp_request_info* request, Place const& place) {
  if (!find(place.instance, SortedRows::Search::at)) {
    netsnmp_request_set_error(request, SNMP_NOSUCHINSTANCE);
    return SNMP_ERR_NOERROR;
  }
  Row row(*this, *call.registration, place.column);
  auto const name = nameOf(*request);
  if (!std::equal(name.begin(), name.end(), row.name().begin(), row.name().end())) {
    return call.handOn(request);
  }
  return callTable(call, request, place.column, row.data());
}

int RowServer::getNext(Call const& call, netsnmp_request_info* request) {
  bool const inclusive = request->inclusive != 0;
  for (auto place = following(call, *request); place.column != 0;
       place = {columnFrom(place.column + 1), {}}) {
    bool const atToo = inclusive && !place.instance.empty();
    if (!find(place.instance, atToo ? SortedRows::Search::atOrAfter : SortedRows::Search::after)) {
      continue;
    }
    Row row(*this, *call.registration, place.column);
    auto const name = nameOf(*request);
    auto const order =
        snmp_oid_compare(row.name().data(), row.name().size(), name.data(), name.size());
    if (order < 0 || (order == 0 && !inclusive)) return call.handOn(request);
    snmp_set_var_objid(request->requestvb, row.name().data(), row.name().size());
    return callTable(call, request, place.column, row.data());
  }
  return SNMP_ERR_NOERROR;  // unanswered: the agent goes on behind the table
}

int RowServer::callTable(Call const& call, netsnmp_request_info* request, unsigned column,
                         void* row) {
  hint_.colnum = column;
  RequestData const table(*request, TABLE_HANDLER_NAME, &hint_);
  RequestData const context(*request, TABLE_ITERATOR_NAME, row);
  GetMode const mode(*call.info);
  auto* last = call.handler;
  while (last->next) last = last->next;
  return netsnmp_call_handler(last, call.registration, call.info, request);
}

RowServer::Place RowServer::named(Call const& call, netsnmp_request_info const& request) const {
  auto const root = rootOf(*call.registration);
  auto const name = nameOf(request);
  bool const isInside = name.size() > root.size() + 1 &&
                        std::equal(root.begin(), root.end(), name.begin()) &&
                        name[root.size()] == entry;
  if (!isInside) return {};
  auto const column = name[root.size() + 1];
  if (columnFrom(column) != column) return {};
  return {static_cast<unsigned>(column), name.subspan(root.size() + 2)};
}

/// Where the search for what follows the name begins.
RowServer::Place RowServer::following(Call const& call, netsnmp_request_info const& request) const {
  if (auto const place = named(call, request); place.column != 0) return place;
  auto const root = rootOf(*call.registration);
  auto const name = nameOf(request);
  std::array<oid, MAX_OID_LEN> inside;
  auto* const end = std::copy(root.begin(), root.end(), inside.begin());
  *end = entry;
  auto const length = root.size() + 1;
  auto const order = snmp_oidtree_compare(name.data(), name.size(), inside.data(), length);
  if (order > 0) return {};
  bool const isBefore = order < 0 || name.size() <= length;
  return {columnFrom(isBefore ? 0 : name[length]), {}};
}

/// The first column whose number is not less; 0 when there is none.
unsigned RowServer::columnFrom(oid least) const {
  auto const found = std::lower_bound(columns_.begin(), columns_.end(), least);
  return found == columns_.end() ? 0 : *found;
}

bool RowServer::find(Instance instance, SortedRows::Search search) const {
  return rows_.source && rows_.find(rows_.source, instance, search, hint_.indexes);
}

}  // namespace Snmp

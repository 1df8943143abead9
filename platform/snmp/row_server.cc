#include "platform/snmp/row_server.h"

#include <utility>

#include <absl/cleanup/cleanup.h>

#include "platform/snmp/callback.h"

namespace Snmp {

namespace {

constexpr char const* handlerName = "row_server";

Instance nameOf(netsnmp_request_info const& request) {
  return {request.requestvb->name, request.requestvb->name_length};
}

/// Data of a request, under a name, while it lives.
class RequestData {
 public:
  RequestData(netsnmp_request_info& request, char const* name, void* data) : request_(request) {
    // A node on the stack: netsnmp_request_add_list_data() would allocate one for each row.
    node_.name = const_cast<char*>(name);
    node_.data = data;
    node_.next = request.parent_data;
    request.parent_data = &node_;
  }
  ~RequestData() {
    // The agent frees the nodes of a request when it ends: one on the stack must not be among them.
    // What a handler has put before it since then stays.
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

// The repetitions of a GETBULK: a chain of variables behind the one that is asked for. The agent
// looks after each pass at the one that `requestvb` names: where that has no value, the next pass
// asks whatever stands behind this table; where it is to be asked again (ASN_PRIV_RETRY), this one.

/// The chains of all requests hang together, and `repeat` may be one too many: the agent gives one
/// back for each cell that it hides, counted or not.
bool isLastOfChain(netsnmp_request_info const& request, netsnmp_agent_session const* session) {
  if (!request.requestvb->next_variable) return true;
  if (!session || !session->pdu || !session->bulkcache) return false;
  auto const place = request.index - 1 - session->pdu->errstat;  // among those that repeat
  auto const repetitions = session->pdu->errindex;
  return place < 0 ||
         session->bulkcache[place * repetitions + repetitions - 1] == request.requestvb;
}

bool hasRepetitions(netsnmp_request_info const& request, netsnmp_agent_session const* session) {
  auto const& variable = *request.requestvb;
  if (request.repeat <= 0 || request.status != SNMP_ERR_NOERROR) return false;
  if (isLastOfChain(request, session)) return false;
  // A cell that the table has left without a value is the agent's to ask about again.
  if (variable.type == ASN_NULL || variable.type == ASN_PRIV_RETRY) return false;
  // Behind the range another registration comes first.
  return !request.range_end || snmp_oid_compare(variable.name, variable.name_length,
                                                request.range_end, request.range_end_len) < 0;
}

void toNextRepetition(netsnmp_request_info& request) {
  --request.repeat;
  request.requestvb = request.requestvb->next_variable;
  // The flag is of the name that was asked for. The search behind an answer leaves the answer out.
  request.inclusive = 0;
}

/// Leaves a repetition without an answer: the search goes on from `last`.
void leaveRepetition(netsnmp_request_info& request, Instance last, unsigned char type) {
  snmp_set_var_objid(request.requestvb, last.data(), last.size());
  request.requestvb->type = type;
}

/// Whether the answer to a GETBULK certainly goes into one message. Where it may not, the agent
/// estimates what it has after each repetition, and stops there.
bool certainlyFits(netsnmp_agent_request_info const& info) {
  if (!info.asp || !info.asp->pdu) return true;
  constexpr long cellSizeMax = 160;  // by the agent's measure: sub-identifiers and octets
  auto const& pdu = *info.asp->pdu;
  return count_varbinds(pdu.variables) * cellSizeMax <= static_cast<long>(pdu.msgMaxSize);
}

}  // namespace

/// What the table's functions tell of the row that the iterator would have been put on by a hint:
/// the loop context ends when there is a data context, which ends when the table has answered.
class RowServer::Told {
 public:
  Told(RowServer& server, netsnmp_table_request_info* hint, bool isRow)
      : iterator_(server.iterator_) {
    void* loop = hint;
    iterator_.get_first_data_point(&loop, &data_, server.found_, &iterator_);
    // Left as it was, the loop context is none of the table's, and not its to free.
    if (loop == hint) return;
    if (isRow && !data_) data_ = iterator_.make_data_context(loop, &iterator_);
    iterator_.free_loop_context_at_end(loop, &iterator_);
  }
  ~Told() {
    if (data_) iterator_.free_data_context(data_, &iterator_);
  }
  Told(Told const&) = delete;
  Told& operator=(Told const&) = delete;

 private:
  netsnmp_iterator_info& iterator_;
  void* data_ = nullptr;
};

int RowServer::Call::handOn(netsnmp_request_info* request) const {
  return netsnmp_call_next_handler(handler, registration, info, request);
}

RowServer::RowServer(std::unique_ptr<SortedRows> rows, netsnmp_iterator_info& iterator,
                     std::span<unsigned const> columns)
    : rows_(std::move(rows)), iterator_(iterator), columns_(columns) {
  auto* const table = iterator.table_reginfo;
  // Two lists: get-first writes the indexes of the row that it finds while it still reads those of
  // the hint. They serve traces alone: where there was no memory for one, what the functions tell
  // is cut short, and what is answered stays the same.
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
    Call call{handler,
              handler,
              registration,
              info,
              View(*info, {registration->rootoid, registration->rootoid_len}),
              info->mode == MODE_GETBULK && certainlyFits(*info)};
    // The table's own handler is the last of the chain: what stands before it, the iterator among
    // them, would search for the row again.
    while (call.table->next) call.table = call.table->next;
    // The last find holds for this call alone: before the next one a turn of the loop may have
    // filed changes.
    absl::Cleanup const forget = [&] { server.rows_->forget(); };
    int status = SNMP_ERR_NOERROR;
    for (auto *request = requests, *next = request; request; request = next) {
      next = request->next;
      if (request->processed != 0) continue;
      // Out of its list meanwhile: handlers of tables work off a whole one, and end it at the first
      // row that is absent.
      auto* const previous = std::exchange(request->prev, nullptr);
      request->next = nullptr;
      absl::Cleanup const putBack = [=] {
        request->next = next;
        request->prev = previous;
      };
      int const one = server.settle(call, request);
      if (status == SNMP_ERR_NOERROR) status = one;
    }
    return status;
  });
}

int RowServer::settle(Call const& call, netsnmp_request_info* request) {
  switch (call.info->mode) {
    case MODE_GET:
      return get(call, request);
    case MODE_GETNEXT:
    case MODE_GETBULK:
      return walk(call, request);
    case MODE_SET_RESERVE1:
    case MODE_SET_RESERVE2:
    case MODE_SET_ACTION:
    case MODE_SET_COMMIT:
    case MODE_SET_FREE:
    case MODE_SET_UNDO:
      return set(call, request);
    default:
      return call.handOn(request);
  }
}

int RowServer::get(Call const& call, netsnmp_request_info* request) {
  auto const place = CellPlace::named(nameOf(*request), call.root(), columns_);
  // net-snmp's table helper tells a column that is not there from an instance that is not.
  if (place.column == 0) return call.handOn(request);
  if (!rows_->find(place.instance, SortedRows::Search::at)) {
    return answerAbsent(call, request, place);
  }
  int const status = answer(call, request, place.column);
  rows_->leave();  // nothing holds a row between two requests
  return status;
}

int RowServer::set(Call const& call, netsnmp_request_info* request) {
  auto const place = CellPlace::named(nameOf(*request), call.root(), columns_);
  if (place.column == 0) return call.handOn(request);
  // The table refuses each SET, of a row that is there and of one that is not.
  return callTable(call, request, place.column, nullptr);
}

int RowServer::walk(Call const& call, netsnmp_request_info* request) {
  RowWalk walk(*rows_, call.root(), columns_, call.view, [this] { tellEnd(); });
  // Unanswered: the agent goes on behind the table.
  if (!walk.start(nameOf(*request), request->inclusive != 0)) return SNMP_ERR_NOERROR;
  bool const isBulk = call.info->mode == MODE_GETBULK;
  while (true) {
    snmp_set_var_objid(request->requestvb, walk.name().data(), walk.name().size());
    int const status = answer(call, request, walk.column());
    if (status != SNMP_ERR_NOERROR || !isBulk || !hasRepetitions(*request, call.info->asp))
      return status;
    // It points into the variable that has just been answered, which stays where it is in the
    // chain.
    auto const last = nameOf(*request);
    toNextRepetition(*request);
    if (!call.fitsAtOnce) return leaveRepetition(*request, last, ASN_PRIV_RETRY), SNMP_ERR_NOERROR;
    if (!walk.step()) return leaveRepetition(*request, last, ASN_NULL), SNMP_ERR_NOERROR;
  }
}

int RowServer::answerAbsent(Call const& call, netsnmp_request_info* request,
                            CellPlace const& place) {
  if (rows_->isTraced()) {
    bool const isIndex = parse_oid_indexes(const_cast<oid*>(place.instance.data()),
                                           place.instance.size(), hint_.indexes) == SNMPERR_SUCCESS;
    Told const told(*this, isIndex ? &hint_ : nullptr, false);
    callTable(call, request, place.column, nullptr);
  }
  // Of a row that is absent the table's handler says nothing: it leaves the request unanswered.
  netsnmp_request_set_error(request, SNMP_NOSUCHINSTANCE);
  return SNMP_ERR_NOERROR;
}

/// By the row that the rows stand on.
int RowServer::answer(Call const& call, netsnmp_request_info* request, unsigned column) {
  // Without a trace no index is set and no row is copied to the heap.
  if (!rows_->isTraced() || !rows_->setIndexes(hint_.indexes)) {
    return callTable(call, request, column, rows_->row());
  }
  Told const told(*this, &hint_, true);
  return callTable(call, request, column, rows_->row());
}

int RowServer::callTable(Call const& call, netsnmp_request_info* request, unsigned column,
                         void* row) {
  hint_.colnum = column;
  // Under these names net-snmp's helpers leave them, and netsnmp_extract_table_info() and
  // netsnmp_extract_iterator_context() find them, which the table's handler calls.
  RequestData const table(*request, TABLE_HANDLER_NAME, &hint_);
  RequestData const context(*request, TABLE_ITERATOR_NAME, row);
  // Of a GETNEXT or GETBULK whose row has been found the table's handler sees the mode that
  // net-snmp's iterator would show it: a table refuses all that is not a GET (answerTable()).
  auto const mode = call.info->mode;
  absl::Cleanup const restore = [&] { call.info->mode = mode; };
  if (mode == MODE_GETNEXT || mode == MODE_GETBULK) call.info->mode = MODE_GET;
  return netsnmp_call_handler(call.table, call.registration, call.info, request);
}

/// As an iteration tells that has come to the end of a column.
void RowServer::tellEnd() {
  if (!rows_->isTraced()) return;
  void* loop = nullptr;
  void* data = nullptr;
  iterator_.get_next_data_point(&loop, &data, found_, &iterator_);
}

}  // namespace Snmp

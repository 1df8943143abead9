// The functions of a table, called as net-snmp calls them, and their texts.

#include <cstdlib>
#include <map>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "handlers/ip_mib/ip_addr_table.h"
#include "handlers/ip_mib/ip_address_prefix_table.h"
#include "handlers/ip_mib/ip_address_table.h"
#include "model/ip_mib.h"
#include "tests/handlers/traces.h"

namespace {

using testing::Contains;
using testing::StartsWith;
using Testing::Traces;

std::string const addr("\x0a\0\0\x05", 4);

/// A list of index variables.
class Indexes {
 public:
  Indexes() = default;
  ~Indexes() { snmp_free_varbind(list_); }
  Indexes(Indexes const&) = delete;
  Indexes& operator=(Indexes const&) = delete;

  Indexes& integer(long value) {
    snmp_varlist_add_variable(&list_, nullptr, 0, ASN_INTEGER, &value, sizeof value);
    return *this;
  }
  Indexes& octets(std::string const& value, unsigned char type = ASN_OCTET_STR) {
    snmp_varlist_add_variable(&list_, nullptr, 0, type, value.data(), value.size());
    return *this;
  }
  Indexes& empty(unsigned char type) {
    snmp_varlist_add_variable(&list_, nullptr, 0, type, nullptr, 0);
    return *this;
  }
  netsnmp_variable_list* list() const { return list_; }
  unsigned size() const {
    unsigned count = 0;
    for (auto const* v = list_; v; v = v->next_variable) ++count;
    return count;
  }
  std::string octetsAt1() const {
    auto const& v = *list_->next_variable;
    return {reinterpret_cast<char const*>(v.val.string), v.val_len};
  }

 private:
  netsnmp_variable_list* list_ = nullptr;
};

class TableFrameTest : public testing::Test {
 protected:
  TableFrameTest() {
    add("\x0a\x00\x00\x01");
    add("\x0a\x00\x00\x05");
    info_.myvoid = mib_.get();
    row_.empty(ASN_INTEGER).empty(ASN_OCTET_STR);
  }
  ~TableFrameTest() override { ipAddressTable_free_loop_context_at_end(loop_, &info_); }

  void add(char const* octets) {
    IpSnmp::InetAddress const key(Ip::ipVersion4, Snmp::String(std::string_view(octets, 4)));
    auto const prefix = Mav::makeObject<IpSnmp::IpAddressPrefixEntry>(
        IpSnmp::IpAddressPrefixKey(3, Ip::ipVersion4, key.bytes(), 32));
    mib_->ipAddressTableIs(key)->intfIs(
        {{IpSnmp::addressSourceStatus, Dovel::IntfId("eth0")}, prefix});
  }

  /// Starts an iteration with a hint; the last octet of the row that it stands on, or 0.
  int first(Indexes const& hint) {
    netsnmp_table_request_info request{};
    request.number_indexes = hint.size();
    request.indexes = hint.list();
    return first(&request);
  }
  int first(netsnmp_table_request_info* hint) {
    ipAddressTable_free_loop_context_at_end(loop_, &info_);
    loop_ = hint;
    auto* const result = ipAddressTable_get_first_data_point(&loop_, &data_, row_.list(), &info_);
    EXPECT_NE(loop_, hint == nullptr ? &info_ : static_cast<void*>(hint));
    return result ? row_.octetsAt1().at(3) : 0;
  }
  int next() {
    auto* const result = ipAddressTable_get_next_data_point(&loop_, &data_, row_.list(), &info_);
    return result ? row_.octetsAt1().at(3) : 0;
  }

  Mav::Ptr<IpSnmp::IpMib> const mib_ = IpSnmp::ipMibFactory("ipmib");
  netsnmp_iterator_info info_{};
  Indexes row_;
  void* loop_ = nullptr;
  void* data_ = nullptr;
};

TEST_F(TableFrameTest, AHintPutsTheIterationOnItsRow) {
  Traces const traces(2);
  EXPECT_EQ(first(Indexes().integer(1).octets(addr)), 5);
  EXPECT_THAT(traces.lines, Contains("hint component ipAddressAddrType is 'ipVersion4'"));
  EXPECT_THAT(traces.lines, Contains(StartsWith("hint component ipAddressAddr is '")));
  EXPECT_EQ(traces.count(", hintMatched=1"), 1U);
  EXPECT_EQ(
      traces.count("ipAddressTableIterationHelper - iterator has another value: addrVersion="), 1U);
  EXPECT_EQ(next(), 0);
  EXPECT_THAT(traces.lines, Contains("ipAddressTableIterationHelper - iterator is at end"));
  EXPECT_THAT(traces.lines,
              Contains(StartsWith("ipAddressTable_get_next_data_point - at end of loop context ")));
}

TEST_F(TableFrameTest, WithoutAUsableHintTheIterationStartsAtTheFirstRow) {
  Traces const traces(2);
  std::string const start = "ipAddressTable_get_first_data_point - ";
  EXPECT_EQ(first(nullptr), 1);
  EXPECT_THAT(traces.lines, Contains(start + "needed 2 components, found only 0"));
  EXPECT_EQ(next(), 5);
  EXPECT_EQ(first(Indexes().integer(1)), 1);
  EXPECT_THAT(traces.lines, Contains(start + "needed 2 components, found only 1"));
  EXPECT_EQ(first(Indexes().integer(1).octets(std::string("\x0a\0\0\x04", 4))), 1);
  EXPECT_EQ(traces.count("' not found in table"), 1U);
  EXPECT_EQ(first(Indexes().octets(addr).octets(addr)), 1);
  EXPECT_THAT(traces.lines, Contains("hint component ipAddressAddrType is '0a 00 00 05'"));
  EXPECT_EQ(traces.count(", hintMatched=0"), 4U);
}

TEST_F(TableFrameTest, BadHintsAreTracedAndIgnored) {
  Traces const traces(0);
  EXPECT_EQ(first(Indexes().octets(addr).octets(addr)), 1);
  EXPECT_EQ(first(Indexes().integer(1).integer(1)), 1);
  EXPECT_EQ(first(Indexes().integer(1L << 31).octets(addr)), 1);
  EXPECT_EQ(first(Indexes().integer(0xffffffffL).octets(addr)), 1);
  EXPECT_EQ(first(Indexes().integer(3).octets(addr)), 1);
  EXPECT_EQ(first(Indexes().empty(ASN_INTEGER).octets(addr)), 1);
  EXPECT_THAT(
      traces.lines,
      testing::ElementsAre(
          "hint for ipAddressAddrType has incorrect type! Expecting 2 but got 4",
          "hint for ipAddressAddr has incorrect type! Expecting 4 but got 2",
          StartsWith("hint for index ipAddressAddrType of ipAddressTable is out of range! 21474"),
          StartsWith("hint for index ipAddressAddrType of ipAddressTable is out of range! 42949"),
          "hint for index ipAddressAddrType of ipAddressTable is out of range! IpVersion",
          StartsWith(
              "hint for index ipAddressAddrType of ipAddressTable is out of range! an INT")));
}

TEST_F(TableFrameTest, WithoutAnEntityTheTableIsEmpty) {
  info_.myvoid = nullptr;
  EXPECT_EQ(first(Indexes().integer(1).octets(addr)), 0);
}

TEST_F(TableFrameTest, ADataContextOutlivesItsRow) {
  first(nullptr);
  auto* const context = ipAddressTable_make_data_context(loop_, &info_);
  mib_->ipAddressTableDelAll();
  EXPECT_EQ(next(), 0);
  Indexes row;
  row.empty(ASN_INTEGER).empty(ASN_OCTET_STR);
  EXPECT_EQ(ipAddressTableIterationHelper(context, row.list()), row.list());
  EXPECT_EQ(row.octetsAt1(), std::string("\x0a\0\0\x01", 4));
  ipAddressTable_free_data_context(context, &info_);
  ipAddressTable_free_data_context(nullptr, &info_);
}

/// A list of requests for one column each, with the row `context` of an iterator.
class Requests {
 public:
  Requests(int mode, std::vector<std::pair<unsigned, void*>> const& columns)
      : requests_(columns.size()), variables_(columns.size()) {
    info_.mode = mode;
    for (std::size_t i = 0; i < columns.size(); ++i) {
      auto& request = requests_[i];
      request.requestvb = &variables_[i];
      request.agent_req_info = &info_;
      request.next = i + 1 < columns.size() ? &requests_[i + 1] : nullptr;
      variables_[i].type = ASN_NULL;
      auto* const table = SNMP_MALLOC_TYPEDEF(netsnmp_table_request_info);
      table->colnum = columns[i].first;
      netsnmp_request_add_list_data(&request,
                                    netsnmp_create_data_list(TABLE_HANDLER_NAME, table, std::free));
      if (!columns[i].second) continue;
      netsnmp_request_add_list_data(
          &request, netsnmp_create_data_list(TABLE_ITERATOR_NAME, columns[i].second, nullptr));
    }
  }
  ~Requests() {
    for (auto& request : requests_) netsnmp_free_request_data_sets(&request);
    for (auto& variable : variables_) snmp_free_var_internals(&variable);
  }
  Requests(Requests const&) = delete;
  Requests& operator=(Requests const&) = delete;

  int handle(Netsnmp_Node_Handler* handler) {
    return handler(nullptr, nullptr, &info_, requests_.empty() ? nullptr : &requests_[0]);
  }
  netsnmp_request_info& operator[](std::size_t i) { return requests_[i]; }

 private:
  netsnmp_agent_request_info info_{};
  std::vector<netsnmp_request_info> requests_;
  std::vector<netsnmp_variable_list> variables_;
};

TEST_F(TableFrameTest, EveryPhaseOfASetRefusesTheFirstThatIsNotProcessed) {
  Traces traces(2);
  std::string const refused = "ipAddressTable_handler: SET is not configured for column ";
  std::map<unsigned, std::string> const columns{{3, refused + "ipAddressIfIndex"},
                                                {5, "ipAddressTable invalid column 5"},
                                                {12, "ipAddressTable invalid column 12"}};
  for (int mode = MODE_SET_RESERVE1; mode <= MODE_SET_UNDO; ++mode) {
    for (auto const& [column, text] : columns) {
      traces.lines.clear();
      Requests requests(mode, {{3, nullptr}, {column, nullptr}, {4, nullptr}});
      requests[0].processed = 1;
      EXPECT_EQ(requests.handle(ipAddressTable_handler), 0);
      EXPECT_EQ(requests[1].status, SNMP_ERR_NOTWRITABLE);
      EXPECT_EQ(requests[2].status, 0);
      EXPECT_EQ(traces.lines.back(), text);
      EXPECT_EQ(traces.count(" already processed"), 1U);
    }
  }
}

TEST_F(TableFrameTest, AListEndsAtTheFirstRequestWithoutARowOrWithAnUnknownColumn) {
  first(nullptr);
  Traces traces(2);
  Requests requests(MODE_GET, {{3, loop_}, {3, nullptr}, {3, loop_}});
  EXPECT_EQ(requests.handle(ipAddressTable_handler), 0);
  EXPECT_EQ(requests[0].requestvb->type, ASN_INTEGER);
  EXPECT_EQ(requests[2].requestvb->type, ASN_NULL);
  EXPECT_THAT(traces.lines, Contains("ipAddressTable_handler"));
  EXPECT_THAT(traces.lines, Contains("ipAddressTable_handler: request mode 160"));
  EXPECT_THAT(traces.lines,
              Contains(StartsWith(
                  "ipAddressTable_handler: request GET for column ipAddressIfIndex, key Value(")));
  EXPECT_EQ(traces.lines.back(), "ipAddressTable_handler: null data context in request");
  EXPECT_EQ(Requests(MODE_GET, {}).handle(ipAddressTable_handler), 0);

  Requests unknown(MODE_GET, {{99, loop_}, {3, loop_}});
  EXPECT_EQ(unknown.handle(ipAddressTable_handler), 0);
  EXPECT_EQ(unknown[0].requestvb->type, SNMP_NOSUCHOBJECT);
  EXPECT_EQ(unknown[1].requestvb->type, ASN_NULL);
  EXPECT_EQ(traces.lines.back(), "ipAddressTable invalid column 99");
}

/// A row that no interface has breaks an invariant of the cache: an exception, and genErr.
TEST_F(TableFrameTest, AnExceptionIsGeneralErrorAndALogLine) {
  mib_->ipAddressTableDelAll();
  mib_->ipAddressTableIs({Ip::ipVersion4, Snmp::String(std::string_view("\x0a\x0a\x0a\x0a", 4))});
  first(nullptr);
  Traces traces(0);
  Requests requests(MODE_GET, {{3, loop_}});
  EXPECT_EQ(requests.handle(ipAddressTable_handler), SNMP_ERR_GENERR);
  EXPECT_EQ(requests[0].status, SNMP_ERR_GENERR);
  EXPECT_EQ(traces.count("null ValidPtr"), 1U);
}

}  // namespace

#pragma once
// A manager's session with the agent library of this process: whole PDUs, over a socket in a
// directory of its own, through everything that stands between the wire and a handler.

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "platform/snmp/net_snmp.h"
#include "tests/handlers/agent_request.h"
// clang-format off
#include <net-snmp/agent/agent_callbacks.h>
// clang-format on

namespace Testing {

struct Binding {
  Oid name;
  unsigned char type = ASN_NULL;
  std::string value;  // a number, a dotted OID, or octets in hexadecimal; empty of an exception

  friend bool operator==(Binding const& a, Binding const& b) = default;
};

inline std::string dotted(Oid const& name) {
  std::string text;
  for (auto const subIdentifier : name) text += '.' + std::to_string(subIdentifier);
  return text;
}

inline void PrintTo(Binding const& binding, std::ostream* out) {
  *out << dotted(binding.name) << " = " << int{binding.type} << ": " << binding.value;
}

struct Response {
  long error = 0;
  std::vector<Binding> bindings;
};

class AgentSession {
 public:
  AgentSession() {
    static bool const listening = listen();
    if (!listening) throw std::runtime_error("the agent does not listen");
    netsnmp_session session;
    snmp_sess_init(&session);
    auto peer = "unix:" + socket();
    std::string community = "public";
    session.version = SNMP_VERSION_2c;
    session.peername = peer.data();
    session.community = reinterpret_cast<unsigned char*>(community.data());
    session.community_len = community.size();
    session.retries = 0;
    session.timeout = 60'000'000;
    session.callback = onResponse;
    session.callback_magic = this;
    session_ = snmp_open(&session);
    if (!session_) throw std::runtime_error("no session with the agent");
  }
  ~AgentSession() { snmp_close(session_); }
  AgentSession(AgentSession const&) = delete;
  AgentSession& operator=(AgentSession const&) = delete;

  Response get(std::vector<Oid> const& names) { return ask(SNMP_MSG_GET, names); }
  Response getNext(std::vector<Oid> const& names) { return ask(SNMP_MSG_GETNEXT, names); }
  Response set(Oid const& name, unsigned char type) {
    return ask(SNMP_MSG_SET, {}, [&](netsnmp_pdu& pdu) {
      long const value = 1;
      snmp_pdu_add_variable(&pdu, name.data(), name.size(), type, &value, sizeof value);
    });
  }

 private:
  struct ScratchDir {
    ScratchDir() {
      if (!::mkdtemp(path.data())) std::abort();
    }
    ~ScratchDir() { std::filesystem::remove_all(path); }
    std::string path = std::filesystem::temp_directory_path() / "agent.XXXXXX";
  };
  // Of the process: the agent listens there as long as it lives.
  static std::string socket() {
    static ScratchDir const dir;
    return dir.path + "/socket";
  }

  // No access control is configured: everything is allowed.
  static int allow(int, int, void* parameters, void*) {
    static_cast<view_parameters*>(parameters)->errorcode = 0;
    return 0;
  }

  static bool listen() {
    startAgentLibrary();
    netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID,
                           NETSNMP_DS_AGENT_DONT_LOG_TCPWRAPPERS_CONNECTS, 1);
    for (int const check : {SNMPD_CALLBACK_ACM_CHECK, SNMPD_CALLBACK_ACM_CHECK_INITIAL}) {
      snmp_register_callback(SNMP_CALLBACK_APPLICATION, check, allow, nullptr);
    }
    return netsnmp_agent_listen_on(("unix:" + socket()).c_str()) != -1;
  }

  static std::string text(netsnmp_variable_list const& variable) {
    switch (variable.type) {
      case ASN_INTEGER:
        return std::to_string(*variable.val.integer);
      case ASN_UNSIGNED:
      case ASN_COUNTER:
      case ASN_TIMETICKS:
        return std::to_string(static_cast<unsigned long>(*variable.val.integer));
      case ASN_OBJECT_ID:
        return dotted(Oid(variable.val.objid, variable.val.objid + variable.val_len / sizeof(oid)));
      case ASN_IPADDRESS:
      case ASN_OCTET_STR: {
        std::string hex;
        for (std::size_t i = 0; i < variable.val_len; ++i) {
          constexpr char const* digits = "0123456789abcdef";
          hex += {digits[variable.val.string[i] >> 4], digits[variable.val.string[i] & 15]};
        }
        return hex;
      }
      default:
        return {};
    }
  }

  static int onResponse(int operation, netsnmp_session*, int, netsnmp_pdu* pdu, void* magic) {
    auto& session = *static_cast<AgentSession*>(magic);
    session.done_ = true;
    if (operation != NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE) return 1;
    session.response_ = {pdu->errstat, {}};
    for (auto const* v = pdu->variables; v; v = v->next_variable) {
      session.response_.bindings.push_back(
          {Oid(v->name, v->name + v->name_length), v->type, text(*v)});
    }
    return 1;
  }

  template <class Prepare = void (*)(netsnmp_pdu&)>
  Response ask(
      int command, std::vector<Oid> const& names, Prepare const& prepare = [](netsnmp_pdu&) {}) {
    auto* const pdu = snmp_pdu_create(command);
    for (auto const& name : names) snmp_add_null_var(pdu, name.data(), name.size());
    prepare(*pdu);
    done_ = false;
    response_ = {-1, {}};
    if (!snmp_send(session_, pdu)) {
      snmp_free_pdu(pdu);
      throw std::runtime_error("the request cannot be sent");
    }
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!done_ && std::chrono::steady_clock::now() < deadline) agent_check_and_process(0);
    return response_;
  }

  netsnmp_session* session_ = nullptr;
  Response response_;
  bool done_ = false;
};

}  // namespace Testing

#pragma once
// One request as net-snmp hands it to a handler: to a callback alone, or down the chain of
// whatever is registered for its object in the agent library of this process.

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/snmp/net_snmp.h"

namespace Testing {

using Oid = std::vector<oid>;

/// The agent library, started once a process: it opens no port and reads no configuration file.
inline void startAgentLibrary() {
  static bool const started = [] {
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_READ_CONFIGS, 1);
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_PERSIST_STATE, 1);
    snmp_disable_log();
    return init_agent("ovosnmp_test") == 0;
  }();
  if (!started) std::abort();
}

struct Reply {
  int returned = 0;  // by the handler
  int error = 0;     // in the request
  unsigned char type = ASN_NULL;
  std::optional<long> value;  // of a number
  std::string octets;         // of an OCTET STRING
  Oid name;
};

class AgentRequest {
 public:
  AgentRequest(int mode, Oid const& name) {
    snmp_varlist_add_variable(&variable_, name.data(), name.size(), ASN_NULL, nullptr, 0);
    info_.mode = mode;
    info_.agent_data = nullptr;
    request_.requestvb = variable_;
    request_.agent_req_info = &info_;
  }
  ~AgentRequest() {
    netsnmp_free_request_data_sets(&request_);  // what the helpers of a table left
    snmp_free_varbind(variable_);
  }
  AgentRequest(AgentRequest const&) = delete;
  AgentRequest& operator=(AgentRequest const&) = delete;

  Reply callback(Netsnmp_Node_Handler* handler, void* entity) {
    netsnmp_handler_registration registration{};
    registration.my_reg_void = entity;
    return reply(handler(nullptr, &registration, &info_, &request_));
  }

  /// Nothing when nobody has registered the object (the library itself answers for whole trees).
  std::optional<Reply> registered() {
    auto* const subtree =
        netsnmp_subtree_find(variable_->name, variable_->name_length, nullptr, "");
    constexpr int mib2Length = 6;
    if (!subtree || subtree->namelen <= mib2Length) return std::nullopt;
    request_.subtree = subtree;
    return reply(netsnmp_call_handlers(subtree->reginfo, &info_, &request_));
  }

 private:
  Reply reply(int returned) const {
    Reply reply{returned, request_.status, variable_->type, std::nullopt, {}, {}};
    switch (variable_->type) {
      case ASN_INTEGER:
      case ASN_COUNTER:
      case ASN_GAUGE:
      case ASN_TIMETICKS:
        reply.value = *variable_->val.integer;
        break;
      case ASN_COUNTER64:
        reply.value = static_cast<long>(variable_->val.counter64->high << 32U |
                                        variable_->val.counter64->low);
        break;
      case ASN_OCTET_STR:
        reply.octets.assign(variable_->val.string, variable_->val.string + variable_->val_len);
        break;
      default:
        break;
    }
    reply.name.assign(variable_->name, variable_->name + variable_->name_length);
    return reply;
  }

  netsnmp_variable_list* variable_ = nullptr;
  netsnmp_agent_request_info info_{};
  netsnmp_request_info request_{};
};

}  // namespace Testing

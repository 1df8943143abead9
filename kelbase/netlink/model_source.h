#pragma once
// Carries the messages of one kind of object into its part of the model. What differs from kind to
// kind is its decoder (decoders.h). The model has is(object), del(object), dumpBegin(),
// dumpEnd(whole) and summary(). All on the publisher's thread.

#include <vector>

#include "kelbase/netlink/kernel_source.h"

namespace Kelbase {

template <class Decoder, class Model>
class ModelSource : public KernelSource {
 public:
  /// `model` must outlive it.
  explicit ModelSource(Model& model) : model_(model), requests_(Decoder::requests()) {}

  std::string_view name() const override { return Decoder::name; }
  std::span<unsigned const> groups() const override { return Decoder::groups; }
  std::span<NetlinkRequest const> requests() const override { return requests_; }
  bool takes(std::uint16_t messageType) const override {
    return messageType == Decoder::newType || messageType == Decoder::delType;
  }
  void dumpBegin() override { model_.dumpBegin(); }
  void dumpEnd(bool whole) override { model_.dumpEnd(whole); }
  /// A removal is read as carefully as an object: what it does not tell well removes nothing.
  void receive(NetlinkMessage const& message) override {
    auto const object = Decoder::read(message);
    if (!object) return;
    message.type() == Decoder::delType ? model_.del(*object) : model_.is(*object);
  }
  std::string summary() const override { return model_.summary(); }

 protected:
  Model& model() { return model_; }

 private:
  Model& model_;
  std::vector<NetlinkRequest> const requests_;
};

}  // namespace Kelbase

#pragma once
// What the reactors of one interface share, whatever they watch: the back pointer to their state
// machine, and the interface's status, without which they file nothing.
//
// Sm is the state machine, Entity what is watched (Ip::IpIntfConfig, Arp::ArpIntfStatus ...). A
// reactor lives in a ReactorSet of the state machine while its entity is in the collection that it
// came from. One thread.
//
// Its constructor takes over what the entity holds and looks for the interface's status. From then
// on it hears the entity, and the state machine hands it each status that comes or goes. At its end
// handleDel() withdraws, where the entity has gone, and disconnect() lets go, always.

#include <memory>

#include "platform/mav/object.h"
#include "platform/state/entities/all_intf_status_dir.h"

namespace IpSnmp {

template <class Sm, class Entity>
class Reactor : public Mav::Counted<Reactor<Sm, Entity>>, public Entity::NotifieeConst {
 public:
  /// Null while the interface has no status.
  Mav::Ptr<Interface::IntfStatus const> const& intfStatus() const { return intfStatus_; }

  /// Another status (or none) than the one held is held from now on, and handleIntfStatus() runs.
  /// The same object is the same status: it lives as long as the pair of name and ifIndex, and what
  /// changes within it concerns no row (platform/state/entities/intf_status.h).
  void intfStatusIs(Mav::Ptr<Interface::IntfStatus const> intfStatus) {
    if (intfStatus_ == intfStatus) return;
    intfStatus_ = std::move(intfStatus);
    handleIntfStatus();
  }

  /// Another status is held.
  virtual void handleIntfStatus() = 0;
  /// The entity has left: withdraws what was filed. Called with the back pointer still there,
  /// before disconnect().
  virtual void handleDel() = 0;

  /// The state machine lets go: nothing is heard or filed from now on.
  void disconnect() {
    this->notifierIs(nullptr);
    sm_ = nullptr;
  }

 protected:
  Reactor(Sm& sm, Mav::Ptr<Entity const> const& entity) : Entity::NotifieeConst(entity), sm_(&sm) {}

  /// Null once the state machine has let the reactor go.
  Sm* sm() const { return sm_; }

 private:
  Sm* sm_;
  Mav::Ptr<Interface::IntfStatus const> intfStatus_;
};

/// Hands each status that comes or goes to the state machine, which has it as its MavIntfStatusDir.
/// Changes within a status (whether the link is up) do not come here.
template <class Sm>
class IntfStatusDirReactor final : public Interface::AllIntfStatusDir::NotifieeConst {
 public:
  IntfStatusDirReactor(Sm& sm, Mav::Ptr<Interface::AllIntfStatusDir const> dir)
      : NotifieeConst(std::move(dir)), sm_(sm) {}
  void onIntfStatus(Dovel::IntfId const& intfId) override { sm_.handleIntfStatus(intfId); }

 private:
  Sm& sm_;
};

/// The state machine watches another input from now on, or none.
template <class Sm, class Reactor, class Input>
void inputIs(Sm& sm, std::unique_ptr<Reactor>& reactor, Mav::Ptr<Input> input) {
  reactor.reset();
  if (input) reactor = std::make_unique<Reactor>(sm, std::move(input));
}

/// What the reactor of an input watches; null where the input is not watched.
template <class Reactor>
auto notifierOf(std::unique_ptr<Reactor> const& reactor) {
  return reactor ? reactor->notifier() : nullptr;
}

}  // namespace IpSnmp

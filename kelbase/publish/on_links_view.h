#pragma once
// What hangs on links, as rows: the model keeps it by the link's index, the table by its name.
// Links joins the two at each write: an object whose link has no name yet waits for it, the rows of
// a link that is renamed move in one commit, removals first, and those of a link that is gone go.
//
// What differs from kind to kind is its Row, a struct:
//
//   Table, Object, name: the table as `kelbasectl` calls it
//   key(name, object's key), objectKey(row's key)
//   record(state)
//
// Of an object that has no row, key() or record() gives nothing.
//
// All marks are by the row's key, at the moment of the change: what a row holds is asked for when
// it is written, by the names as they are then.

#include <optional>

#include "kelbase/model/on_links.h"
#include "kelbase/model/trace.h"
#include "kelbase/publish/row_view.h"

namespace Kelbase {

template <class Row>
class OnLinksView : public RowView<typename Row::Table>,
                    private Links::Observer,
                    private OnLinks<typename Row::Object>::Observer {
 public:
  using Object = typename Row::Object;
  using Key = typename Row::Table::Key;
  using Record = typename Row::Table::Record;

  /// Both must outlive it. It must live as long as they are filled: they have no way to drop an
  /// observer.
  OnLinksView(Links& links, OnLinks<Object>& objects) : links_(links), objects_(objects) {
    links.observerIs(*this);
    objects.observerIs(*this);
  }

  std::string_view name() const override { return Row::name; }
  std::string summary() const override { return objects_.summary(); }

  /// By name to index to object: while another link has the name, the rows are that one's.
  std::optional<Record> find(Key const& key) const override {
    auto const index = links_.linkIndex(key.link);
    if (!index) return std::nullopt;
    auto const* state = objects_.find(*index, Row::objectKey(key));
    return state ? std::optional<Record>(Row::record(*state)) : std::nullopt;
  }

 private:
  using typename RowView<typename Row::Table>::Visit;

  void forEachRow(Visit visit) const override {
    objects_.forEach([&](std::int32_t link, auto const& key, auto const& state) {
      auto const name = links_.linkName(link);
      if (!name) return;
      std::optional<Key> const rowKey = Row::key(*name, key);
      std::optional<Record> const record = Row::record(state);
      if (rowKey && record) visit(*rowKey, *record);
    });
  }

  // All of the link's rows under that name, whether it has come or gone: find() tells which.
  void onLinkName(std::int32_t index, Dovel::IntfId const& name) override {
    objects_.forEachOf(index, [&](auto const& key, auto const&) { markRow(name, key); });
  }
  void onObject(Object const& object) override {
    auto const name = links_.linkName(object.link);
    if (!name) return;  // onLinkName() marks
    markRow(*name, object.key);
    MAV_TRACE(traceHandle(), 2,
              Object::kind << " " << object.address() << " of " << *name << " changed");
  }
  void onObjectGone(Object const& object) override { onObject(object); }
  /// Of an object gone with its link nothing is marked here: onLinkName() has come before.
  void markRow(Dovel::IntfId const& name, typename Object::Key const& key) {
    std::optional<Key> const rowKey = Row::key(name, key);
    if (rowKey) this->mark(*rowKey);
  }

  Links const& links_;
  OnLinks<Object> const& objects_;
};

}  // namespace Kelbase

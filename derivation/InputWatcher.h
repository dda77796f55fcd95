// SPDX-License-Identifier: MIT
#pragma once

#include <tuple>
#include <type_traits>

#include "derivation/InputPaths.h"
#include "derivation/Trace.h"
#include "substrate/flo/InputStateMachine.h"
#include "substrate/flo/Turn.h"
#include "substrate/vel/HashMap2018.h"
#include "substrate/vel/Reactor.h"

namespace MplsSnmp::FloCode::RsvpSnmpSubTunnelStatusSm {

/// The key under which a level's children stand; NoKey where there is at most one child.
struct NoKey {
   bool operator==(NoKey const&) const = default;
   std::uint32_t hash(std::uint32_t seed) const { return seed; }
   std::string valueToStrep() const { return {}; }
};
template <class Level>
struct ChildKey {
   using Type = NoKey;
};
template <class Level>
requires requires { typename Level::Key; }
struct ChildKey<Level> {
   using Type = typename Level::Key;
};

/// The value of a member as an event carries it: a null pointer is no value.
template <class V>
Vel::Optional<V> eventValue(V const& value) {
   return value;
}
template <class T>
Vel::Optional<Vel::Ptr<T>> eventValue(Vel::Ptr<T> const& value) {
   if (!value) return Vel::None;
   return value;
}

/// How many entries of `map` a scan that stops at `bookmark` still has before it. Counted one by one, for trace lines.
template <class Map>
std::size_t entriesBehind(Map const& map, typename Map::Bookmark bookmark) {
   std::size_t count = 0;
   for (auto it = map.after(bookmark); it != map.end(); ++it) ++count;
   return count;
}

/// Watches one object at depth `Depth` of an input path: scans what is there, follows what changes, and turns both
/// into events of the path's stream. Children watch the objects one level below; a leaf forwards its entries through
/// the chain of parents, each of which puts its own key in front, up to the owner.
///
/// Scans and changes are handled in turns, so the tree of watchers never changes under a scan or a retraction. It
/// stands for as long as its owner lives, whom every turn holds; a watcher that is let go is retired at once, with all
/// below it, and forwards nothing any more.
template <class Path, std::size_t Depth>
class WatcherSm : public Flo::Gen::InputStateMachine {
   using Level = std::tuple_element_t<Depth, typename Path::Levels>;
   static constexpr bool isTop = Depth == 0;
   static constexpr bool isLeaf = Level::watch == Watch::members || Level::watch == Watch::value;

   // Parent, own key in the parent, and child type, for every depth.
   template <std::size_t D>
   struct Above {
      using Parent = WatcherSm<Path, D - 1>;
      using Key = typename ChildKey<std::tuple_element_t<D - 1, typename Path::Levels>>::Type;
   };
   template <std::size_t D>
   requires(D == 0) struct Above<D> {
      using Parent = Owner;
      using Key = NoKey;
   };
   struct Childless {};
   template <bool Leaf>
   struct Below {
      using Child = WatcherSm<Path, Depth + 1>;
      using Children = Vel::HashMap2018<typename ChildKey<Level>::Type, Vel::Ptr<Child>>;
   };
   template <bool Leaf>
   requires(Leaf) struct Below<Leaf> {
      using Child = Childless;
      using Children = Childless;
   };

   using Parent = typename Above<Depth>::Parent;
   using OwnKey = typename Above<Depth>::Key;
   using Key = typename ChildKey<Level>::Type;
   using Child = typename Below<isLeaf>::Child;

 public:
   using Input = typename Level::Input;

   WatcherSm(Parent* parent, OwnKey key, Vel::Ptr<Input const> const& input)
         : InputStateMachine(asMachine(parent)), parent_(parent), key_(std::move(key)) {
      Trel::fmassert(static_cast<bool>(input),
                     "en() && \"Sm args can only be null if marked as Optional in the SM type declaration\"");
      reactor_ = Vel::makePtr<VelInput>(this, input);
      InputStateMachine::hasNotificationActiveIs(true);
   }
   ~WatcherSm() override { reactor_->retire(); }

   std::string_view className() const override { return Level::className; }
   Input const* input() const { return reactor_->notifier(); }

   bool doInputScan() override;

   /// The watched attribute changed; `key` is the member's, for a collection.
   void handleChange(Key const& key);

   /// An event from a child, which stands under the keys that come first in `keysAndValue`.
   template <class... Args>
   void onChildEvent(Args const&... keysAndValue) {
      forward(keysAndValue...);
   }

   /// Retracts what this machine has reported: the watched object is gone. What `successor`, a machine that watches
   /// another object in its place, has reported is not retracted.
   void doDeleteAll(WatcherSm const* successor = nullptr);

   void hasNotificationActiveIs(bool active) override {
      if (active == hasNotificationActive()) return;
      InputStateMachine::hasNotificationActiveIs(active);
      reactor_->hasNotificationActiveIs(active);
      forEachChild([&](auto& child) { child.hasNotificationActiveIs(active); });
   }

   void velDoZombieReactors(bool zombie) override {
      InputStateMachine::velDoZombieReactors(zombie);
      reactor_->velDoZombieReactors(zombie);
      forEachChild([&](auto& child) { child.velDoZombieReactors(zombie); });
   }

   /// Whether an event for `key` has come or will come from this machine.
   bool covers(Key const& key) const {
      if constexpr (Level::watch == Watch::members) {
         return Level::read(*input()).contains(key);
      } else {
         return children_.contains(key);
      }
   }
   Child const* child(Key const& key) const { return children_[key].get(); }
   /// The keys of this level and of those above it, in front of the given ones.
   template <class... Keys>
   auto fullKey(Keys const&... below) const {
      if constexpr (isTop) {
         return std::make_tuple(below...);
      } else if constexpr (std::is_same_v<OwnKey, NoKey>) {
         return parent_->fullKey(below...);
      } else {
         return parent_->fullKey(key_, below...);
      }
   }

   Owner& owner() const {
      if constexpr (isTop) {
         return *parent_;
      } else {
         return parent_->owner();
      }
   }

 protected:
   Flo::SmControl const& control() const override {
      if constexpr (isTop) {
         return parent_->floControl();
      } else {
         return InputStateMachine::control();
      }
   }
   std::string taskName() const override {
      return fmt::format("MplsSnmp::RsvpSnmpSubTunnelStatusSm-{}InputScanTask", Level::className);
   }
   void inputScanComplete() override {
      if constexpr (isTop) Path::scanComplete(*parent_);
   }

 private:
   class VelInput : public Vel::Reactor<VelInput, WatcherSm, Input> {
    public:
      using Vel::Reactor<VelInput, WatcherSm, Input>::Reactor;
      void handle(WatcherSm& watcher, Vel::AttributeId attribute, void const* key) {
         if (attribute != Level::attribute) return;
         if constexpr (std::is_same_v<Key, NoKey>) {
            watcher.takeUp(NoKey());
         } else {
            watcher.takeUp(*static_cast<Key const*>(key));
         }
      }
   };

   /// Handles a change in a turn: one that has to wait is looked at as things stand then. Should the watcher have been
   /// let go meanwhile, whatever it watches is no part of the inputs any more; but an event that only it knew of is not
   /// lost, and brings what stands under the same keys now.
   void takeUp(Key const& key) {
      Vel::Ptr<Owner> const keep(&owner());
      auto const handle = [watcher = Vel::Ptr(this), keep, key] {
         Flo::Gen::ReactorScope const scope(*watcher);
         watcher->handleChange(key);
      };
      if (!Flo::Turn::underWay()) return Flo::Turn::hold(handle);
      Flo::Turn::take([handle, watcher = Vel::Ptr(this), keep, keys = keysOf(key)] {
         if (!watcher->isMarkedForDeletion()) {
            if (watcher->hasNotificationActive()) handle();
         } else if constexpr (isLeaf) {
            std::apply([&](auto const&... each) { Path::missed(*keep, Level::attributeName, each...); }, keys);
         }
      });
   }

   /// The keys of an entry from the top of the path down.
   auto keysOf(Key const& key) const {
      if constexpr (std::is_same_v<Key, NoKey>) {
         return fullKey();
      } else {
         return fullKey(key);
      }
   }

   static InputStateMachine* asMachine(Parent* parent) {
      if constexpr (isTop) {
         return nullptr;
      } else {
         return parent;
      }
   }

   template <class... Args>
   void forward(Args const&... keysAndValue) {
      // Retired: those above may have gone.
      if (isMarkedForDeletion()) return;
      if constexpr (isTop) {
         Path::deliver(*parent_, keysAndValue...);
      } else if constexpr (std::is_same_v<OwnKey, NoKey>) {
         parent_->onChildEvent(keysAndValue...);
      } else {
         parent_->onChildEvent(key_, keysAndValue...);
      }
   }

   template <class Call>
   void forEachChild(Call&& call) {
      if constexpr (!isLeaf) {
         for (auto const& entry : children_) {
            Vel::Ptr<Child> const child = entry.value;
            call(*child);
         }
      }
   }

   /// The object below `key` is now `object`, which may be null. Makes, keeps, replaces or retracts the child.
   template <class Object>
   Vel::Ptr<Child> childSmIs(Key const& key, Vel::Ptr<Object> const& object);

   /// One step of the scan: an event of a leaf, or a whole child. False when the child yielded.
   template <class Value>
   bool scanEntry(Key const& key, Value const& value);
   void traceScanComplete();

   Parent* parent_;
   [[no_unique_address]] OwnKey key_;
   [[no_unique_address]] typename Below<isLeaf>::Children children_;
   Vel::Ptr<VelInput> reactor_;
   std::uint64_t inputScanBookmark_ = 0;
   bool gone_ = false;
};

template <class Path, std::size_t Depth>
template <class Object>
auto WatcherSm<Path, Depth>::childSmIs(Key const& key, Vel::Ptr<Object> const& object) -> Vel::Ptr<Child> {
   Vel::Ptr<Child> const old = children_[key];
   if (old && old->input() == object.get()) return old;
   Vel::Ptr<Child> fresh;
   if (object) {
      fresh = Vel::makePtr<Child>(this, key, object);
      children_.insertOrAssign(key, fresh);
   } else {
      children_.erase(key);
   }
   if (old) {
      // What the new object holds is reported first, so that the retraction of the old one cannot undo it. The old one
      // listens until it is retracted, so that nothing is missed that an observer takes out of its object meanwhile.
      if (fresh) {
         Flo::Gen::ReactorScope const scope(*this);
         fresh->doInputScan();
      }
      old->doDeleteAll(fresh.get());
      old->velDoZombieReactors(true);
   }
   return fresh;
}

template <class Path, std::size_t Depth>
template <class Value>
bool WatcherSm<Path, Depth>::scanEntry(Key const& key, Value const& value) {
   if constexpr (isLeaf) {
      forward(key, eventValue(value));
      return true;
   } else {
      Vel::Ptr<Child> const child = childSmIs(key, value);
      return !child || child->doInputScan();
   }
}

template <class Path, std::size_t Depth>
bool WatcherSm<Path, Depth>::doInputScan() {
   if (scanDone()) return true;
   // An event may drop the last reference to the whole derivation.
   Vel::Ptr<Owner> const keep(&owner());
   if constexpr (Level::watch == Watch::value) {
      forward(Level::read(*input()));
   } else if constexpr (Level::watch == Watch::pointer) {
      if (!scanEntry(NoKey(), Level::read(*input()))) return false;
   } else {
      auto const& map = Level::read(*input());
      std::size_t iterations = 0;
      for (auto it = map.after(inputScanBookmark_); it != map.end(); ++it) {
         auto const number = it.bookmark();
         bool const done = scanEntry(Key(it->key), std::remove_cvref_t<decltype(it->value)>(it->value));
         if (isMarkedForDeletion()) return false;
         if (done) inputScanBookmark_ = number;
         ++iterations;
         if (!done || shouldYield()) {
            if (debugHandler().enabled(kDetail)) {
               traceDetail("{} {} yielding after {} iterations ({} remaining)", className(), Level::attributeName,
                           iterations, entriesBehind(map, number));
            }
            return false;
         }
      }
   }
   if (isMarkedForDeletion()) return false;
   traceScanComplete();
   scanDoneIs(true);
   return true;
}

template <class Path, std::size_t Depth>
void WatcherSm<Path, Depth>::traceScanComplete() {
   if constexpr (isLeaf) {
      traceDetail("{} scan complete.", className());
   } else {
      traceDetail("{} scan complete. Processed {} children.", className(), children_.size());
   }
   if constexpr (isTop) {
      traceDetail("{} scan, and parent scan, complete.", className());
   } else {
      if (parent_->scanDone()) traceDetail("{} scan, and parent scan, complete.", className());
   }
}

template <class Path, std::size_t Depth>
void WatcherSm<Path, Depth>::handleChange(Key const& key) {
   if constexpr (Level::watch == Watch::value) {
      forward(Level::read(*input()));
   } else if constexpr (Level::watch == Watch::members) {
      using Value = std::remove_cvref_t<decltype(*Level::read(*input()).find(key))>;
      Vel::Optional<Value> value;
      if (gone_) {
         traceDetail("We missed notifications that happened to {} before the enclosing entity got deleted",
                     Level::attributeName);
      } else if (Value const* const found = Level::read(*input()).find(key)) {
         value = eventValue(*found);
      }
      forward(key, value);
   } else {
      auto const object = [&] {
         if constexpr (Level::watch == Watch::pointer) {
            return Level::read(*input());
         } else {
            return Level::read(*input())[key];
         }
      }();
      // What the new child holds is scanned to its end: only scans in a task yield.
      if (Vel::Ptr<Child> const child = childSmIs(key, object)) child->doInputScan();
   }
}

template <class Path, std::size_t Depth>
void WatcherSm<Path, Depth>::doDeleteAll(WatcherSm const* successor) {
   traceDetail("doDeleteAll {}", className());
   // An event may drop the last reference to the whole derivation.
   Vel::Ptr<Owner> const keep(&owner());
   if constexpr (Level::watch == Watch::value) {
      using Value = std::remove_cvref_t<decltype(Level::read(*input()))>;
      if (!successor) forward(Value());
   } else if constexpr (Level::watch == Watch::members) {
      auto const& map = Level::read(*input());
      for (auto it = map.begin(); it != map.end(); ++it) {
         Key const key = it->key;
         using Value = std::remove_cvref_t<decltype(it->value)>;
         if (!successor || !successor->covers(key)) forward(key, Vel::Optional<Value>());
      }
      // Entries that have gone, of which this machine would have been told next.
      using Value = std::remove_cvref_t<decltype(*map.find(std::declval<Key const&>()))>;
      for (Key const& key : input()->template membersBeingTold<Key>(Level::attribute)) {
         if (!map.contains(key) && !(successor && successor->covers(key))) forward(key, Vel::Optional<Value>());
      }
   } else {
      for (auto it = children_.begin(); it != children_.end(); ++it) {
         Vel::Ptr<Child> const child = it->value;
         Key const key = it->key;
         child->doDeleteAll(successor ? successor->child(key) : nullptr);
      }
   }
   gone_ = true;
}

}  // namespace MplsSnmp::FloCode::RsvpSnmpSubTunnelStatusSm

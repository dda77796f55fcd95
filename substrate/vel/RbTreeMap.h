// SPDX-License-Identifier: MIT
#pragma once

#include <boost/intrusive/set.hpp>

#include <cstdint>
#include <utility>

#include "substrate/trel/Assert.h"
#include "substrate/vel/Pool.h"
#include "substrate/vel/Ptr.h"
#include "substrate/vel/RefCount.h"
#include "substrate/vel/WorkCounter.h"

namespace Vel {

/// A map in ascending key order (a red-black tree of counted nodes) with a modification count.
///
/// A walk holds a counted reference to its current node and the modification count of the time. While the count is
/// the same, the next node is the in-order successor; otherwise the walk finds its place again by key. So a node that
/// left the map stays readable for those who hold it, and a walk never meets a stale one (`next`).
template <class K, class V>
class RbTreeMap {
 public:
   class Node : public boost::intrusive::set_base_hook<boost::intrusive::optimize_size<true>>, public Pooled<Node> {
    public:
      K const& key() const { return key_; }
      V const& value() const { return value_; }

      void newRef() const { refs_.increment(); }
      void deleteRef() const {
         if (refs_.decrement()) delete this;
      }

    private:
      friend class RbTreeMap;
      Node(K key, V value) : key_(std::move(key)), value_(std::move(value)) {}
      mutable RefCount refs_;
      K key_;
      V value_;
   };
   using NodePtr = Ptr<Node const>;

   RbTreeMap() = default;
   RbTreeMap(RbTreeMap const& other) { *this = other; }
   RbTreeMap& operator=(RbTreeMap const& other) {
      if (this != &other) {
         clear();
         for (Node const& node : other.tree_) link(node.key_, node.value_);
      }
      return *this;
   }
   ~RbTreeMap() { clear(); }

   std::size_t size() const { return tree_.size(); }
   bool empty() const { return tree_.empty(); }
   /// Changes on every insert and every delete.
   std::uint32_t modificationCount() const { return modifications_; }

   NodePtr root() const { return empty() ? NodePtr() : NodePtr(&*tree_.root()); }
   NodePtr smallest() const { return at(tree_.begin()); }
   NodePtr find(K const& key) const { return at(tree_.find(key, KeyLess())); }
   /// The node of that key or else of the next greater one; null behind the largest.
   NodePtr findElementOrNext(K const& key) const { return at(tree_.lower_bound(key, KeyLess())); }
   /// The node of the next greater key; null behind the largest.
   NodePtr findNext(K const& key) const { return at(tree_.upper_bound(key, KeyLess())); }
   /// The value of `key`, or a default-made one.
   V operator[](K const& key) const {
      auto const found = tree_.find(key, KeyLess());
      return found == tree_.end() ? V{} : found->value_;
   }
   bool contains(K const& key) const { return tree_.find(key, KeyLess()) != tree_.end(); }

   /// The node behind `current`, which was in the map when the modification count was `version`. Brings `version` up
   /// to date. `current` need not be in the map any more.
   NodePtr next(Node const& current, std::uint32_t& version) const {
      if (version == modifications_) return at(std::next(tree_.iterator_to(current)));
      version = modifications_;
      return findNext(current.key_);
   }

   /// The node behind one that is in the map, uncounted: valid until an entry comes or goes. Null behind the largest.
   Node const* peekNext(Node const& current) const {
      auto const next = std::next(tree_.iterator_to(current));
      return next == tree_.end() ? nullptr : &*next;
   }

   /// REQUIRES: no entry has this key (assertDupKey).
   void insert(K key, V value) {
      Trel::fmassert(!contains(key), "assertDupKey: the key is already in the ordered map");
      link(std::move(key), std::move(value));
   }
   /// Overwrites the value of a key that is there; true then.
   bool assign(K const& key, V value) {
      auto const found = tree_.find(key, KeyLess());
      if (found == tree_.end()) return false;
      [[maybe_unused]] V const old = std::exchange(found->value_, std::move(value));
      return true;
   }
   bool erase(K const& key) {
      auto const found = tree_.find(key, KeyLess());
      if (found == tree_.end()) return false;
      Node& node = *found;
      tree_.erase(found);
      ++modifications_;
      node.deleteRef();
      return true;
   }
   void clear() {
      if (empty()) return;
      ++modifications_;
      // The nodes are destroyed only after the map is empty: their values may come back to this map.
      Tree removed;
      removed.swap(tree_);
      removed.clear_and_dispose([](Node* node) { node->deleteRef(); });
   }

   /// Goes on at the next greater key when entries come or go on the way.
   class Iterator {
    public:
      Node const& operator*() const { return *node_; }
      Node const* operator->() const { return node_.get(); }
      Iterator& operator++() {
         node_ = map_->next(*node_, version_);
         return *this;
      }
      bool operator==(Iterator const& other) const { return node_ == other.node_; }

    private:
      friend class RbTreeMap;
      Iterator(RbTreeMap const* map, NodePtr node) : map_(map), version_(map->modifications_), node_(std::move(node)) {}
      RbTreeMap const* map_;
      std::uint32_t version_;
      NodePtr node_;
   };
   Iterator begin() const { return Iterator(this, smallest()); }
   Iterator end() const { return Iterator(this, nullptr); }
   Iterator from(K const& key) const { return Iterator(this, findElementOrNext(key)); }

   /// Equal when both hold equal entries.
   bool operator==(RbTreeMap const& other) const {
      return size() == other.size() &&
             std::equal(tree_.begin(), tree_.end(), other.tree_.begin(),
                        [](Node const& a, Node const& b) { return a.key_ == b.key_ && a.value_ == b.value_; });
   }

 private:
   struct NodeLess {
      bool operator()(Node const& a, Node const& b) const { return a.key_ < b.key_; }
   };
   struct KeyLess {
      bool operator()(Node const& a, K const& b) const { return a.key_ < b; }
      bool operator()(K const& a, Node const& b) const { return a < b.key_; }
   };
   using Tree = boost::intrusive::set<Node, boost::intrusive::compare<NodeLess>>;

   NodePtr at(typename Tree::const_iterator position) const {
      ++collectionNodesVisited;
      return position == tree_.end() ? NodePtr() : NodePtr(&*position);
   }
   void link(K key, V value) {
      auto* const node = new Node(std::move(key), std::move(value));
      node->newRef();
      tree_.insert(*node);
      ++modifications_;
   }

   Tree tree_;
   std::uint32_t modifications_ = 0;
};

}  // namespace Vel

// SPDX-License-Identifier: MIT
#include "host/store/ChangeSet.h"

#include <algorithm>

#include "host/store/StateStore.h"
#include "substrate/trel/Assert.h"

namespace Store {

ChangeSet::ChangeSet(StateStore& store, ChangeKind kind, std::string document)
      : kind_(kind), document_(std::move(document)), in_(document_) {
   for (auto const& collection : store.collections()) {
      parts_.push_back({collection->name(), false, collection->changes(in_, kind)});
      if (kind == ChangeKind::snapshot) parts_.back().changes->othersGo();
   }
}

void ChangeSet::goesBetween(ChangeSet& other) {
   for (std::size_t index = 0; index < parts_.size(); ++index) {
      CollectionChanges& changes = *parts_[index].changes;
      CollectionChanges& others = *other.parts_[index].changes;
      if (other.checked_) {
         changes.comesBehind(others);
      } else {
         changes.comesBefore(others);
      }
   }
}

bool ChangeSet::checkSome(std::size_t entries) {
   while (!checked_ && entries-- > 0) {
      if (checkAgain() || checkNext()) continue;
      in_.end();
      for (Part const& part : parts_) part.changes->checked();
      checked_ = true;
   }
   return checked_;
}

bool ChangeSet::removesWhole() const {
   return std::ranges::any_of(parts_, [](Part const& part) { return part.changes->doOthersGo(); });
}

std::size_t ChangeSet::changed() const {
   std::size_t changed = changed_;
   for (Part const& part : parts_) changed += part.changes->changedForOthers();
   return changed;
}

/// Checks again one entry that another document has changed; false when there is none.
bool ChangeSet::checkAgain() {
   std::size_t const position = in_.position();
   for (Part const& part : parts_) {
      JsonReader::Inside const inCollection(in_, part.name);
      if (!part.changes->checkAgain()) continue;
      in_.positionIs(position);
      return true;
   }
   return false;
}

/// Checks the next entry, or enters the next collection; false at the end of the document.
bool ChangeSet::checkNext() {
   if (!begun_) {
      in_.beginObject();
      begun_ = true;
   }
   if (!open_) {
      auto const name = in_.nextMember(firstCollection_);
      if (name) openCollection(*name);
      return name.has_value();
   }
   JsonReader::Inside const inCollection(in_, open_->name);
   if (auto const id = in_.nextMember(firstEntry_)) {
      JsonReader::Inside const inEntry(in_, *id);
      open_->changes->check(*id);
   } else {
      open_ = nullptr;
   }
   return true;
}

void ChangeSet::openCollection(std::string_view name) {
   JsonReader::Inside const inside(in_, name);
   std::vector<std::string_view> names;
   for (Part const& part : parts_) names.push_back(part.name);
   Part& part = parts_[in_.indexOf(name, names, "collection")];
   if (part.present) in_.refuse("this collection is there twice");
   part.present = true;
   if (in_.takeNull()) {
      part.changes->othersGo();
      return;
   }
   in_.beginObject();
   firstEntry_ = true;
   open_ = &part;
}

bool ChangeSet::applySome(std::size_t entries) {
   Trel::fmassert(checked_, "a change set is applied before it is checked");
   using Step = CollectionChanges::Step;
   while (part_ < parts_.size() && entries > 0) {
      CollectionChanges& changes = *parts_[part_].changes;
      Step const step = removing_ ? changes.removeNext() : changes.applyNext();
      if (step == Step::finished) {
         nextPart();
      } else {
         --entries;
         changed_ += step == Step::changed;
      }
   }
   return part_ >= parts_.size();
}

/// From the first collection to the last, and back again to the first.
void ChangeSet::nextPart() {
   if (removing_) {
      --part_;  // behind the first it is beyond all
   } else if (++part_ == parts_.size()) {
      removing_ = true;
      --part_;
   }
}

bool ChangeSet::destroySome() {
   if (!in_.destroySome()) return false;
   return std::ranges::all_of(parts_, [](Part const& part) { return part.changes->destroySome(); });
}

}  // namespace Store

// SPDX-License-Identifier: MIT
#include "host/publish/StateText.h"

#include <algorithm>
#include <utility>

#include "host/publish/Request.h"

namespace Publish {

namespace {

constexpr std::size_t kTextPiece = std::size_t{96} << 10U;
// Between two looks at the clock.
constexpr std::size_t kStepsAtOnce = 8;

}  // namespace

void StateText::ask(Asker asker) {
   asked_.push_back(std::move(asker));
   proceed();
}

void StateText::proceed() {
   if (queued_ || asked_.empty() || !text_.expired()) return;
   queued_ = true;
   queue_.add([this, alive = std::weak_ptr(alive_)](Orb::Task& task) { return alive.expired() || write(task); });
}

bool StateText::write(Orb::Task& task) {
   if (!writer_) {
      waiting_ = std::exchange(asked_, {});
      writer_ = std::make_unique<Store::DocumentWriter>(store_, Store::kOneLine);
      pieces_ = std::make_shared<Pieces>(1, std::string(kStateBegin));
   }
   if (std::ranges::none_of(waiting_, [](Asker const& asker) { return asker.wanted(); })) {
      writer_ = nullptr;
      pieces_ = nullptr;
      finish(nullptr);
      return true;
   }
   while (true) {
      if (pieces_->back().size() >= kTextPiece) {
         pieces_->emplace_back();
         pieces_->back().reserve(kTextPiece + kTextPiece / 16);
      }
      if (writer_->writeSome(pieces_->back(), kStepsAtOnce)) break;
      if (task.taskShouldYield()) return false;
   }
   pieces_->back() += kStateEnd;
   writer_ = nullptr;
   std::shared_ptr<Pieces const> const text = std::exchange(pieces_, nullptr);
   text_ = text;
   finish(text);
   return true;
}

void StateText::finish(std::shared_ptr<Pieces const> const& text) {
   queued_ = false;
   for (Asker const& asker : std::exchange(waiting_, {})) asker.ready(text);
}

}  // namespace Publish

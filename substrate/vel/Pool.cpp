// SPDX-License-Identifier: MIT
#include "substrate/vel/Pool.h"

#include <new>
#include <typeindex>
#include <unordered_map>

namespace Vel {

namespace {

// Pools grow by as many places at a time: few while there are few objects, then a piece of some pages.
constexpr std::size_t kFirstPlaces = 32;
constexpr std::size_t kMostPlaces = 1024;

}  // namespace

Pool::Pool(std::size_t size) : places_(size, kFirstPlaces, kMostPlaces) {}

Pool& Pool::of(std::type_info const& type, std::size_t size) {
   // Never destroyed: at the end of the process, who comes last to let an object go is anybody.
   static auto& mutex = *new std::mutex;
   static auto& pools = *new std::unordered_map<std::type_index, Pool>;
   std::lock_guard const lock(mutex);
   return pools.try_emplace(type, size).first->second;
}

void* Pool::take() {
   std::lock_guard const lock(mutex_);
   void* const place = places_.malloc();
   if (!place) throw std::bad_alloc();
   ++taken_;
   return place;
}

void Pool::giveBack(void* place) noexcept {
   std::lock_guard const lock(mutex_);
   if (--taken_ != 0) {
      places_.free(place);
   } else {
      places_.purge_memory();
   }
}

std::size_t Pool::taken() const {
   std::lock_guard const lock(mutex_);
   return taken_;
}

}  // namespace Vel

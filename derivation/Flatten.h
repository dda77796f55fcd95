// SPDX-License-Identifier: MIT
#pragma once

#include <array>

#include "derivation/StreamTexts.h"
#include "derivation/Trace.h"
#include "substrate/flo/Tuple.h"
#include "substrate/vel/HashMap2018.h"
#include "substrate/vel/Optional.h"

namespace MplsSnmp {

/// Turns "the value of `key` is now `newValue`" into the elements of a stream: the old value as a delete when it
/// differs, then the new value as an add. `cache` keeps the last value of every key. An unchanged value comes as an
/// add alone, since the outputs are idempotent; a removed one as a delete alone.
template <class Key, class Value, class Emit>
void flatten(StreamTexts const& texts, Vel::HashMap2018<Key, Value>& cache, Key const& key,
             Vel::Optional<Value> const& newValue, Emit&& emit) {
   using Element = Flo::Tuple<Vel::Optional<Value>, bool>;
   Vel::Optional<Value> oldValue;
   if (Value const* const cached = cache.find(key)) {
      oldValue = *cached;
      traceDetail("Got value {} with key {} from cache", *cached, key);
   }
   if (newValue) {
      traceDetail("Inserting value {} with key {} into cache", *newValue, key);
      cache.insertOrAssign(key, *newValue);
   } else {
      traceDetail("Deleting key {} from cache", key);
      cache.erase(key);
   }
   std::array<Element, 2> const elements{Element{oldValue == newValue ? Vel::Optional<Value>() : oldValue, false},
                                         Element{newValue, true}};
   traceDetail(
         " flatten( [ ( if ( _oldValueOpt{0} != _newValueOpt{1} ) then _oldValueOpt{0} else None, false ), ( "
         "_newValueOpt{1}, true ) ] ) flattening {2} elements",
         texts.oldValue, texts.newValue, elements.size());
   for (Element const& element : elements) {
      traceDetail("Flattening element: {}", element);
      if (!element.first) {
         traceDetail("filter( _valueOpt{} ) failed, terminating pipeline", texts.value);
         continue;
      }
      emit(*element.first, element.second);
   }
}

/// The case line of an element.
inline void traceCase(StreamTexts const& texts, bool isAdd) {
   traceDetail("{}", isAdd ? texts.addCase : texts.deleteCase);
}

}  // namespace MplsSnmp

// SPDX-License-Identifier: MIT
#pragma once

#include <boost/intrusive/list.hpp>

#include "substrate/vel/PtrInterface.h"

namespace Vel {

/// The reactors registered with one notifier, in order of registration, with the visits that are under way.
class NotifieeList {
 public:
   using NotifieeConst = PtrInterface::NotifieeConst;

   ~NotifieeList();

   void insert(NotifieeConst& reactor);
   void remove(NotifieeConst& reactor);
   /// Lets every reactor go.
   void clear();
   /// Calls every reactor that was registered before and still is when its turn comes.
   void visit(AttributeId attribute, void const* key);

 private:
   using List = boost::intrusive::list<
         NotifieeConst,
         boost::intrusive::member_hook<NotifieeConst, boost::intrusive::list_member_hook<>, &NotifieeConst::hook_>,
         boost::intrusive::constant_time_size<false>>;
   struct Visit {
      List::iterator next;
      Visit* outer;
   };

   List list_;
   Visit* visits_ = nullptr;
};

}  // namespace Vel

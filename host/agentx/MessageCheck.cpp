// SPDX-License-Identifier: MIT
#include "host/agentx/MessageCheck.h"

#include <algorithm>
#include <span>

#include "host/agentx/Messages.h"

namespace AgentX {

namespace {

constexpr unsigned char kVersion = 1;
constexpr std::size_t kPrefixed = 5;  // sub-identifiers that a prefix stands for: 1.3.6.1 and itself

/// Goes through a payload part by part. Each part says whether it is there, whole and as it should be.
class Payload {
 public:
   Payload(std::span<unsigned char const> octets, bool bigEndian) : left_(octets), bigEndian_(bigEndian) {}

   bool empty() const { return left_.empty(); }

   bool skip(std::size_t octets) {
      if (octets > left_.size()) return false;
      left_ = left_.subspan(octets);
      return true;
   }

   /// An octet string of at most `most` octets, padded; what it holds is in `text`.
   bool string(std::size_t most, std::span<unsigned char const>& text) {
      if (left_.size() < 4) return false;
      std::size_t const size = number();
      skip(4);
      if (size > most || size > left_.size()) return false;
      text = left_.first(size);
      return skip((size + 3) / 4 * 4);
   }

   bool objectIdentifier() {
      if (left_.size() < 4) return false;
      std::size_t const given = left_[0];
      std::size_t const all = given + (left_[1] != 0 ? kPrefixed : 0);
      return all <= MessageLimits::kSubidentifiers && left_[2] <= 1 && skip(4 + 4 * given);
   }

   bool searchRange() { return objectIdentifier() && objectIdentifier(); }

   bool variable() {
      if (left_.size() < 4) return false;
      unsigned const type = bigEndian_ ? left_[0] << 8U | left_[1] : left_[1] << 8U | left_[0];
      if (!skip(4) || !objectIdentifier()) return false;
      std::span<unsigned char const> text;
      switch (type) {
         case ASN_INTEGER:
         case ASN_COUNTER:
         case ASN_GAUGE:
         case ASN_TIMETICKS:
            return skip(4);
         case ASN_COUNTER64:
            return skip(8);
         case ASN_OCTET_STR:
         case ASN_OPAQUE:
            return string(MessageLimits::kOctets, text);
         case ASN_IPADDRESS:
            return string(4, text) && text.size() == 4;
         case ASN_OBJECT_ID:
            return objectIdentifier();
         case ASN_NULL:
         case SNMP_NOSUCHOBJECT:
         case SNMP_NOSUCHINSTANCE:
         case SNMP_ENDOFMIBVIEW:
            return true;
         default:
            return false;
      }
   }

   bool all(bool (Payload::*part)()) {
      while (!empty()) {
         if (!(this->*part)()) return false;
      }
      return true;
   }

   std::size_t number() const {
      std::size_t value = 0;
      for (std::size_t i = 0; i < 4; ++i) value = value << 8U | left_[bigEndian_ ? i : 3 - i];
      return value;
   }

 private:
   std::span<unsigned char const> left_;
   bool bigEndian_;
};

bool isWellFormed(unsigned char type, Payload payload) {
   switch (type) {
      case kAgentXClose:
         return payload.skip(4);
      case kAgentXGet:
      case kAgentXGetNext:
         return payload.all(&Payload::searchRange);
      case kAgentXGetBulk:
         return payload.skip(4) && payload.all(&Payload::searchRange);
      case kAgentXTestSet:
         return payload.all(&Payload::variable);
      case kAgentXCommitSet:
      case kAgentXUndoSet:
      case kAgentXCleanupSet:
         return payload.empty();
      case kAgentXResponse:
         return payload.skip(8) && payload.all(&Payload::variable);
      default:  // what only a subagent sends, or nobody
         return false;
   }
}

}  // namespace

Fault faultOf(unsigned char const* data, std::size_t length) {
   if (length > MessageLimits::kOctets) return Fault::tooLong;
   if (length < kHeader || length % 4 != 0 || data[0] != kVersion) return Fault::malformed;
   bool const bigEndian = (data[kFlags] & kAgentXNetworkByteOrder) != 0;
   std::span const octets(data, length);
   Payload payload(octets.subspan(kHeader), bigEndian);
   if (Payload(octets.subspan(kPayload), bigEndian).number() != length - kHeader) return Fault::malformed;
   if ((data[kFlags] & kAgentXNonDefaultContext) != 0) {
      std::span<unsigned char const> context;
      if (!payload.string(MessageLimits::kContext, context)) return Fault::malformed;
      if (std::ranges::find(context, 0) != context.end()) return Fault::malformed;
   }
   return isWellFormed(data[kType], payload) ? Fault::none : Fault::malformed;
}

}  // namespace AgentX

// SPDX-License-Identifier: MIT
#include <array>

#include "mib/Keys.h"
#include "mib/SessionAttributesBits.h"

namespace MplsSnmp {

namespace {

constexpr std::array<std::string_view, 5> kFlags{"fastReroute", "mergingPermitted", "isPersistent", "isPinned",
                                                 "recordRoute"};

template <class T>
T whole(Vel::TextIterator begin, Vel::TextIterator end) {
   return Vel::strepToValue<T>(std::string_view(begin, end - begin));
}

}  // namespace

MplsTunnelTableKey::MplsTunnelTableKey(Vel::TextIterator begin, Vel::TextIterator end)
      : MplsTunnelTableKey(whole<MplsTunnelTableKey>(begin, end)) {}

MplsTunnelHopTableKey::MplsTunnelHopTableKey(Vel::TextIterator begin, Vel::TextIterator end)
      : MplsTunnelHopTableKey(whole<MplsTunnelHopTableKey>(begin, end)) {}

SessionAttributesBits::SessionAttributesBits(std::uint8_t value) : value_(value) {
   if (value > kMask) Vel::throwDenseBoolSetRangeException(velTypeName, value, kMask);
}

SessionAttributesBits::SessionAttributesBits(Vel::TextIterator begin, Vel::TextIterator end)
      : SessionAttributesBits(whole<SessionAttributesBits>(begin, end)) {}

std::uint32_t SessionAttributesBits::hash(std::uint32_t seed) const {
   Vel::Hasher hasher(seed);
   hasher.mix1(value_);
   return hasher.result();
}

std::string SessionAttributesBits::valueToStrep() const {
   std::string text = fmt::format("Value('{}', ** {{", velTypeName);
   for (unsigned n = 0; n < kFlags.size(); ++n) {
      text += fmt::format("{}'{}': {}", n == 0 ? "" : ", ", kFlags[n], Vel::toStrep(bit(n)));
   }
   return text + "})";
}

void SessionAttributesBits::sequenceToValue(Vel::TextIterator& position, Vel::TextIterator end,
                                            SessionAttributesBits& out) {
   SessionAttributesBits bits;
   Vel::needString(position, end, fmt::format("Value('{}', ** {{", velTypeName));
   for (unsigned n = 0; n < kFlags.size(); ++n) {
      Vel::needString(position, end, fmt::format("{}'{}': ", n == 0 ? "" : ", ", kFlags[n]));
      bits.bitIs(n, Vel::readBool(position, end, kFlags[n]));
   }
   Vel::needString(position, end, "})");
   out = bits;
}

}  // namespace MplsSnmp

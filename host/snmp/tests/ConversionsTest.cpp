// SPDX-License-Identifier: MIT
#include "host/snmp/Conversions.h"

#include <gtest/gtest.h>
#include <net-snmp/net-snmp-config.h>
// The configuration comes first.
#include <net-snmp/net-snmp-includes.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include "substrate/vel/Exceptions.h"

namespace Snmp {
namespace {

constexpr std::uint8_t kUntouched = 0xee;

/// What a conversion returned and wrote.
struct Written {
   int result;
   std::string octets;  ///< as many as it says it wrote
   bool keptToLimit;    ///< nothing behind the limit was touched
};

template <class Conversion, class Value>
Written convert(Value const& value, std::size_t limit = 1024) {
   std::array<std::uint8_t, 2048> buffer;
   buffer.fill(kUntouched);
   int const result = Conversion()(value, buffer.data(), limit);
   bool kept = true;
   for (std::size_t n = limit; n < buffer.size(); ++n) kept = kept && buffer[n] == kUntouched;
   auto const size = static_cast<std::size_t>(std::max(result, 0));
   return {result, std::string(reinterpret_cast<char const*>(buffer.data()), size), kept};
}

/// The integer that snmp_set_var_typed_value would find.
template <class Conversion, class Value>
long number(Value const& value) {
   Written const written = convert<Conversion>(value);
   EXPECT_EQ(written.result, int{sizeof(long)});
   long out = 0;
   std::memcpy(&out, written.octets.data(), std::min(written.octets.size(), sizeof out));
   return out;
}

/// A number converted and put into a varbind the way a handler does it.
template <class Conversion, class Value>
std::string varbindText(u_char type, Value const& value) {
   Written const written = convert<Conversion>(value);
   netsnmp_variable_list* varbind = nullptr;
   snmp_varlist_add_variable(&varbind, nullptr, 0, ASN_NULL, nullptr, 0);
   EXPECT_EQ(snmp_set_var_typed_value(varbind, type, written.octets.data(), written.octets.size()), 0);
   std::string const text =
         type == ASN_COUNTER64
               ? std::to_string((std::uint64_t{varbind->val.counter64->high} << 32U) | varbind->val.counter64->low)
               : std::to_string(*varbind->val.integer);
   snmp_free_varbind(varbind);
   return text;
}

template <class Conversion, class Value>
void expectNeeds(std::size_t size, Value const& value) {
   EXPECT_EQ(convert<Conversion>(value, size).result, static_cast<int>(size));
   Written const failed = convert<Conversion>(value, size - 1);
   EXPECT_LT(failed.result, 0);
   EXPECT_TRUE(failed.keptToLimit);
   EXPECT_LT(convert<Conversion>(value, 0).result, 0);
}

TEST(Strings, AreWrittenAsTheyAre) {
   EXPECT_EQ(convert<TruncatableStringToAsnOctetString>(Vel::String("to-paris"), 255).octets, "to-paris");
   EXPECT_EQ(convert<StringToAsnOctetString>(Vel::String("to-paris"), 255).octets, "to-paris");
   std::string const withNul("a\0b", 3);
   EXPECT_EQ(convert<StringToAsnOctetString>(Vel::String(withNul), 255).octets, withNul);
}

TEST(Strings, MayBeEmpty) {
   EXPECT_EQ(convert<TruncatableStringToAsnOctetString>(Vel::String(), 255).result, 0);
   EXPECT_EQ(convert<StringToAsnOctetString>(Vel::String(), 255).result, 0);
   EXPECT_EQ(convert<BytesToAsnOctetString>(Vel::Bytes(), 4).result, 0);
   EXPECT_EQ(convert<BytesToAsnOctetString>(Vel::Bytes(), 0).result, 0);
}

TEST(Strings, AreCutOnlyWhereThatIsAllowed) {
   Vel::String const name(std::string(256, 'n'));
   Written const cut = convert<TruncatableStringToAsnOctetString>(name, 255);
   EXPECT_EQ(cut.octets, std::string(255, 'n'));
   EXPECT_TRUE(cut.keptToLimit);
   EXPECT_EQ(convert<TruncatableStringToAsnOctetString>(name, 0).result, 0);
   EXPECT_EQ(convert<TruncatableStringToAsnOctetString>(name, 256).result, 256);

   Written const failed = convert<StringToAsnOctetString>(name, 255);
   EXPECT_LT(failed.result, 0);
   EXPECT_TRUE(failed.keptToLimit);
   EXPECT_EQ(convert<StringToAsnOctetString>(name, 256).result, 256);
}

TEST(Octets, MustFit) {
   Vel::Bytes const octets(std::string_view("\xc0\x80\xc0\x80", 4));
   EXPECT_EQ(convert<BytesToAsnOctetString>(octets, 4).octets, "\xc0\x80\xc0\x80");
   Written const failed = convert<BytesToAsnOctetString>(octets, 3);
   EXPECT_LT(failed.result, 0);
   EXPECT_TRUE(failed.keptToLimit);
}

TEST(TruthValue, IsOneForTrueAndTwoForFalse) {
   EXPECT_EQ(number<BoolToAsnInteger>(true), 1);
   EXPECT_EQ(number<BoolToAsnInteger>(false), 2);
   expectNeeds<BoolToAsnInteger>(sizeof(long), true);
}

TEST(Integer, KeepsItsSign) {
   EXPECT_EQ(number<S32ToAsnInteger>(0), 0);
   EXPECT_EQ(number<S32ToAsnInteger>(-1), -1);
   EXPECT_EQ(number<S32ToAsnInteger>(std::numeric_limits<std::int32_t>::max()), 2147483647);
   EXPECT_EQ(number<S32ToAsnInteger>(std::numeric_limits<std::int32_t>::min()), -2147483648L);
   EXPECT_EQ(varbindText<S32ToAsnInteger>(ASN_INTEGER, -7), "-7");
   expectNeeds<S32ToAsnInteger>(sizeof(long), 5);
}

TEST(Unsigned, KeepsAll32Bits) {
   EXPECT_EQ(number<U32ToAsnUnsigned>(0U), 0);
   EXPECT_EQ(number<U32ToAsnUnsigned>(0x80000000U), 2147483648L);
   EXPECT_EQ(number<U32ToAsnUnsigned>(0xffffffffU), 4294967295L);
   EXPECT_EQ(varbindText<U32ToAsnUnsigned>(ASN_UNSIGNED, 0xffffffffU), "4294967295");
   EXPECT_EQ(varbindText<U32ToAsnUnsigned>(ASN_INTEGER, 9U), "9");
   expectNeeds<U32ToAsnUnsigned>(sizeof(long), 5U);
}

TEST(Counter32, StartsAgainAtTwoToThe32) {
   constexpr std::uint64_t kWrap = 1ULL << 32U;
   EXPECT_EQ(number<U64ToCounter32>(std::uint64_t{0}), 0);
   EXPECT_EQ(number<U64ToCounter32>(kWrap - 1), 4294967295L);
   EXPECT_EQ(number<U64ToCounter32>(kWrap), 0);
   EXPECT_EQ(number<U64ToCounter32>(kWrap + 5), 5);
   EXPECT_EQ(number<U64ToCounter32>(~std::uint64_t{0}), 4294967295L);
   EXPECT_EQ(varbindText<U64ToCounter32>(ASN_COUNTER, kWrap + 5), "5");
   expectNeeds<U64ToCounter32>(sizeof(long), kWrap);
}

TEST(Counter64, KeepsAll64Bits) {
   for (std::uint64_t const value : {std::uint64_t{0}, std::uint64_t{1}, (std::uint64_t{1} << 32U) - 1,
                                     std::uint64_t{1} << 32U, std::uint64_t{0x0123456789abcdef}, ~std::uint64_t{0}}) {
      EXPECT_EQ(varbindText<U64ToCounter64>(ASN_COUNTER64, value), std::to_string(value));
   }
   counter64 halves{};
   std::memcpy(&halves, convert<U64ToCounter64>(std::uint64_t{0x0123456789abcdef}).octets.data(), sizeof halves);
   EXPECT_EQ(halves.high, 0x01234567U);
   EXPECT_EQ(halves.low, 0x89abcdefU);
   expectNeeds<U64ToCounter64>(sizeof(counter64), std::uint64_t{5});
}

TEST(TimeTicks, AreTheElapsedHundredths) {
   EXPECT_EQ(number<NowSecondsToUptimeTimeTicks>(0.0), 0);
   EXPECT_EQ(number<NowSecondsToUptimeTimeTicks>(0.009), 0) << "a hundredth that is not over does not count";
   EXPECT_EQ(number<NowSecondsToUptimeTimeTicks>(0.01), 1);
   EXPECT_EQ(number<NowSecondsToUptimeTimeTicks>(3600.25), 360025);
   EXPECT_EQ(varbindText<NowSecondsToUptimeTimeTicks>(ASN_TIMETICKS, 86400.0), "8640000");
   expectNeeds<NowSecondsToUptimeTimeTicks>(sizeof(long), 1.0);
}

TEST(TimeTicks, AreNeverNegative) {
   EXPECT_EQ(number<NowSecondsToUptimeTimeTicks>(-0.5), 0) << "the clock may have been set back";
   EXPECT_EQ(number<NowSecondsToUptimeTimeTicks>(-1e300), 0);
}

TEST(TimeTicks, StartAgainAfter497Days) {
   EXPECT_EQ(number<NowSecondsToUptimeTimeTicks>(42949672.95), 4294967295L);
   EXPECT_EQ(number<NowSecondsToUptimeTimeTicks>(42949672.96), 0);
   EXPECT_EQ(number<NowSecondsToUptimeTimeTicks>(42949672.96 + 1.5), 150);
   EXPECT_EQ(number<NowSecondsToUptimeTimeTicks>(42949672.96 * 3), 0);
}

TEST(TimeTicks, OfTimesThatAreNoneAreZeroOrAnythingInRange) {
   EXPECT_EQ(number<NowSecondsToUptimeTimeTicks>(std::nan("")), 0);
   EXPECT_EQ(number<NowSecondsToUptimeTimeTicks>(std::numeric_limits<double>::infinity()), 0);
   EXPECT_EQ(number<NowSecondsToUptimeTimeTicks>(-std::numeric_limits<double>::infinity()), 0);
   for (double const huge : {1e18, 1e200, std::numeric_limits<double>::max()}) {
      long const ticks = number<NowSecondsToUptimeTimeTicks>(huge);
      EXPECT_GE(ticks, 0) << huge;
      EXPECT_LE(ticks, 4294967295L) << huge;
   }
}

TEST(FromAsnUnsigned, FitsInto16BitsOrThrows) {
   auto const convertLong = [](long value) { return AsnUnsignedToU16Clamped(&value); };
   EXPECT_EQ(convertLong(0), 0);
   EXPECT_EQ(convertLong(65535), 65535);
   EXPECT_THROW(convertLong(65536), Vel::RangeException);
   EXPECT_THROW(convertLong(0xffffffff), Vel::RangeException);
   EXPECT_THROW(convertLong(-1), Vel::RangeException);
}

TEST(FromAsnUnsigned, FitsInto32BitsOrThrows) {
   auto const convertLong = [](long value) { return AsnUnsignedToU32(&value); };
   EXPECT_EQ(convertLong(0), 0U);
   EXPECT_EQ(convertLong(0xffffffff), 0xffffffffU);
   EXPECT_THROW(convertLong(0x1'0000'0000), Vel::RangeException);
   EXPECT_THROW(convertLong(-1), Vel::RangeException);
}

TEST(FromAsnUnsigned, SaysWhatDoesNotFit) {
   auto const message = [](auto convertValue, void const* value) -> std::string {
      try {
         convertValue(value);
      } catch (Vel::RangeException const& error) {
         return error.what();
      }
      return {};
   };
   long const large = 65536;
   EXPECT_EQ(message(AsnUnsignedToU16Clamped, &large), "65536 is out of range (at most 65535)");
   long const larger = 0x1'0000'0000;
   EXPECT_EQ(message(AsnUnsignedToU32, &larger), "4294967296 is out of range (at most 4294967295)");
   EXPECT_EQ(message(AsnUnsignedToU32, nullptr), "there is no value");
   EXPECT_EQ(message(AsnUnsignedToU16Clamped, nullptr), "there is no value");
}

}  // namespace
}  // namespace Snmp

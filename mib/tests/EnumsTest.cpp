// SPDX-License-Identifier: MIT
/// The enumerations have the numbers of MPLS-TE-STD-MIB (RFC 3812): a manager sees them as they are.
#include "mib/Enums.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace MplsSnmp {

namespace {

using testing::ThrowsMessage;

using Values = std::vector<std::pair<unsigned, std::string>>;

template <class E>
Values table() {
   Values all;
   for (auto const& enumerator : velEnumType(E{}).enumerators()) {
      all.emplace_back(enumerator.value, std::string(enumerator.name));
   }
   return all;
}

TEST(EnumsTest, theNumbersAndNamesAreThoseOfTheMib) {
   EXPECT_EQ(table<AdminStatus>(), (Values{{1, "adminUp"}, {2, "adminDown"}, {3, "adminTesting"}}));
   EXPECT_EQ(table<OperStatus>(), (Values{{1, "operUp"},
                                          {2, "operDown"},
                                          {3, "operTesting"},
                                          {4, "operUnknown"},
                                          {5, "operDormant"},
                                          {6, "operNotPresent"},
                                          {7, "operLowerLayerDown"}}));
   EXPECT_EQ(table<TunnelRole>(), (Values{{1, "head"}, {2, "transit"}, {3, "tail"}, {4, "headTail"}}));
   EXPECT_EQ(table<SignallingProto>(),
             (Values{{1, "protoNone"}, {2, "protoRsvp"}, {3, "protoCrldp"}, {4, "protoOther"}}));
   EXPECT_EQ(table<MplsOwner>(), (Values{{1, "unknown"},
                                         {2, "other"},
                                         {3, "snmp"},
                                         {4, "ldp"},
                                         {5, "crldp"},
                                         {6, "rsvpTe"},
                                         {7, "policyAgent"}}));
   EXPECT_EQ(table<HopAddrType>(),
             (Values{{0, "typeUnknown"}, {1, "ipv4"}, {2, "ipv6"}, {3, "asnumber"}, {4, "unnum"}, {5, "lspid"}}));
   EXPECT_EQ(table<HopType>(), (Values{{1, "strict"}, {2, "loose"}}));
   EXPECT_EQ(table<HopEntryPathComp>(), (Values{{1, "compDynamic"}, {2, "compExplicit"}}));
}

TEST(EnumsTest, theEnumeratorsOfTheCodeAreThoseNumbers) {
   EXPECT_EQ(static_cast<unsigned>(AdminStatus::adminUp), 1);
   EXPECT_EQ(static_cast<unsigned>(OperStatus::operUp), 1);
   EXPECT_EQ(static_cast<unsigned>(OperStatus::operDown), 2);
   EXPECT_EQ(static_cast<unsigned>(OperStatus::operLowerLayerDown), 7);
   EXPECT_EQ(static_cast<unsigned>(TunnelRole::head), 1);
   EXPECT_EQ(static_cast<unsigned>(SignallingProto::protoRsvp), 2);
   EXPECT_EQ(static_cast<unsigned>(MplsOwner::rsvpTe), 6);
   EXPECT_EQ(static_cast<unsigned>(HopAddrType::typeUnknown), 0);
   EXPECT_EQ(static_cast<unsigned>(HopAddrType::lspid), 5);
   EXPECT_EQ(static_cast<unsigned>(HopType::strict), 1);
   EXPECT_EQ(static_cast<unsigned>(HopEntryPathComp::compDynamic), 1);
}

/// What every enumeration type offers, checked through its own operations.
template <class E, class Instance>
void checkInstances(std::string_view typeName, Instance const& instance) {
   SCOPED_TRACE(typeName);
   EXPECT_EQ(velEnumType(E{}).name(), typeName);
   for (auto const& [number, name] : table<E>()) {
      auto const value = static_cast<E>(number);
      EXPECT_EQ(instance(number), value);
      EXPECT_EQ(instance(Vel::String(name)), value);
      EXPECT_EQ(stringValue(value), Vel::String(name));
      EXPECT_EQ(fmt::format("{}", value), name);
      std::ostringstream stream;
      stream << value;
      EXPECT_EQ(stream.str(), name);

      EXPECT_EQ(valueToStrep(value), name);
      EXPECT_EQ(Vel::strepToValue<E>(name), value);
      EXPECT_EQ(instance(name.data(), name.data() + name.size()), value);
      EXPECT_THROW(instance(name.data(), name.data() + name.size() - 1), Vel::ParseException);
      Vel::Hasher hasher(5);
      hasher.mix4(number);
      EXPECT_EQ(hash(value, 5), hasher.result());

      // A name is read from the front of a longer text.
      std::string const text = name + ", rest";
      Vel::TextIterator position = text.data();
      E read{};
      sequenceToValue(position, text.data() + text.size(), read);
      EXPECT_EQ(read, value);
      EXPECT_EQ(std::string_view(position, 6), ", rest");
   }
   for (unsigned const number : {8U, 255U, 4294967295U}) {
      EXPECT_THAT([&] { instance(number); }, ThrowsMessage<Vel::RangeException>(fmt::format(
                                                   "{} is not a value of the enumeration {}", number, typeName)));
   }
   for (std::string const name : {"", "nonsense", "adminup"}) {
      EXPECT_THAT([&] { instance(Vel::String(name)); },
                  ThrowsMessage<Vel::ParseException>(fmt::format("\"{}\" is not an enumerator of {}", name, typeName)));
   }
   std::string_view const unknown = "nonsense";
   Vel::TextIterator position = unknown.data();
   E untouched = static_cast<E>(1);
   EXPECT_THROW(sequenceToValue(position, unknown.data() + unknown.size(), untouched), Vel::ParseException);
   EXPECT_EQ(untouched, static_cast<E>(1));
}

TEST(EnumsTest, instancesComeFromNumbersAndNames) {
   checkInstances<AdminStatus>("MplsSnmp::AdminStatus", AdminStatusInstance);
   checkInstances<OperStatus>("MplsSnmp::OperStatus", OperStatusInstance);
   checkInstances<TunnelRole>("MplsSnmp::TunnelRole", TunnelRoleInstance);
   checkInstances<SignallingProto>("MplsSnmp::SignallingProto", SignallingProtoInstance);
   checkInstances<MplsOwner>("MplsSnmp::MplsOwner", MplsOwnerInstance);
   checkInstances<HopAddrType>("MplsSnmp::HopAddrType", HopAddrTypeInstance);
   checkInstances<HopType>("MplsSnmp::HopType", HopTypeInstance);
   checkInstances<HopEntryPathComp>("MplsSnmp::HopEntryPathComp", HopEntryPathCompInstance);
}

TEST(EnumsTest, onlyTheAddressTypeHasAValueZero) {
   EXPECT_EQ(HopAddrTypeInstance(0U), HopAddrType::typeUnknown);
   EXPECT_THROW(AdminStatusInstance(0U), Vel::RangeException);
   EXPECT_THROW(OperStatusInstance(0U), Vel::RangeException);
   EXPECT_THROW(TunnelRoleInstance(0U), Vel::RangeException);
   EXPECT_THROW(SignallingProtoInstance(0U), Vel::RangeException);
   EXPECT_THROW(MplsOwnerInstance(0U), Vel::RangeException);
   EXPECT_THROW(HopTypeInstance(0U), Vel::RangeException);
   EXPECT_THROW(HopEntryPathCompInstance(0U), Vel::RangeException);
}

}  // namespace

}  // namespace MplsSnmp

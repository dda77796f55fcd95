// SPDX-License-Identifier: MIT
#include "tests/differential/Steps.h"

#include <fmt/format.h>

#include <algorithm>

namespace Differential {

namespace {

constexpr std::uint8_t kNull = 0x05;  // what a request and the answer of an error have in place of a value

Answer::Variable stepFrom(TwoWays& agent, Request const& from, Name const& name) {
   Request step = from;
   step.pdu = Pdu::getNext;
   step.nonRepeaters = step.maxRepetitions = 0;
   step.names = {name};
   auto const answer = decode(agent.ask(encode(step), TwoWays::Way::stock));
   return answer.variables.empty() ? Answer::Variable{name, kNull, {}} : answer.variables.front();
}

/// One of the steps must fail: which one is met first is the agent's affair.
std::string wrongError(TwoWays& agent, Request const& getBulk, Answer const& answer) {
   bool const isAbout = answer.index >= 1 && answer.index <= getBulk.names.size();
   Name name = isAbout ? getBulk.names[answer.index - 1] : Name();
   for (std::uint32_t n = 0; isAbout && n <= getBulk.maxRepetitions; ++n) {
      auto const next = stepFrom(agent, getBulk, name);
      if (next.type == kNull) return {};
      if (next.type == kEndOfMibView) break;
      name = next.name;
   }
   return fmt::format("no step fails, but it is error {} at {}", answer.status, answer.index);
}

}  // namespace

std::string wrongSteps(TwoWays& agent, Request const& getBulk, Octets const& message) {
   auto const answer = decode(message);
   if (answer.status != 0) return wrongError(agent, getBulk, answer);
   std::size_t const nonRepeaters = std::min<std::size_t>(getBulk.nonRepeaters, getBulk.names.size());
   std::size_t const repeaters = getBulk.names.size() - nonRepeaters;
   std::vector<Name> at = getBulk.names;
   for (std::size_t n = 0; n < answer.variables.size(); ++n) {
      auto const& variable = answer.variables[n];
      auto& name = at[n < nonRepeaters ? n : nonRepeaters + (n - nonRepeaters) % repeaters];
      auto const expected = stepFrom(agent, getBulk, name);
      bool const isRight = expected.type == kEndOfMibView ? variable.type == kEndOfMibView : variable == expected;
      if (!isRight) return fmt::format("variable {} is not the step from the one before", n);
      name = expected.name;
   }
   return {};
}

}  // namespace Differential

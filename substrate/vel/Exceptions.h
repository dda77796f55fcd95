// SPDX-License-Identifier: MIT
/// The framework's errors. Each says in its text what was refused and where.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace Vel {

class Exception : public std::runtime_error {
   using std::runtime_error::runtime_error;
};

/// A number does not fit the type that it is meant for.
class RangeException : public Exception {
   using Exception::Exception;
};

/// A text is not the text form of a value.
class ParseException : public Exception {
   using Exception::Exception;
};

/// An empty Optional was read.
class BadOptionalAccessException : public Exception {
   using Exception::Exception;
};

/// A pointer argument of a setter is null and must not be.
class MutatorArgNullPointerException : public Exception {
   using Exception::Exception;
};

/// A setter would bind an existing member to other inputs.
class MutatorReinstantiatingException : public Exception {
   using Exception::Exception;
};

/// An entity was to be created in a directory with arguments beyond its name.
class NewEntityArgsException : public Exception {
   using Exception::Exception;
};

/// A call of the generic interface has the wrong number or types of arguments.
class ArgumentException : public Exception {
   using Exception::Exception;
};

/// No type of that name is registered.
class UnknownTypeException : public Exception {
   using Exception::Exception;
};

[[noreturn]] void throwMutatorArgNullPointerException(std::string_view type, std::string_view attribute,
                                                      std::string_view argument);
[[noreturn]] void throwMutatorReinstantiating(std::string_view type, std::string_view attribute,
                                              std::string_view argument);
[[noreturn]] void throwNewEntityArgsException(std::string_view type);
[[noreturn]] void throwDenseBoolSetRangeException(std::string_view type, unsigned value, unsigned limit);

}  // namespace Vel

#pragma once

#include <exception>
#include <string>
#include <string_view>

#include "Sync/Foundation/Dictionary.h"

namespace kt {

inline constexpr std::string_view NSInvalidArgumentException = "NSInvalidArgumentException";
inline constexpr std::string_view NSRangeException = "NSRangeException";
inline constexpr std::string_view NSGenericException = "NSGenericException";
inline constexpr std::string_view NSInconsistentArchiveException = "NSInconsistentArchiveException";

/// The one kind of failure that guards catch, log and pass on. Anything else that is thrown passes
/// them.
class Exception : public std::exception {
public:
    Exception(std::string_view name, std::string_view reason, Dictionary userInfo = {});

    const std::string& name() const { return _name; }
    const std::string& reason() const { return _reason; }
    const Dictionary& userInfo() const { return _userInfo; }
    /// What logs show of it: the reason.
    const std::string& description() const { return _reason; }
    const char* what() const noexcept override { return _reason.c_str(); }

private:
    std::string _name;
    std::string _reason;
    Dictionary _userInfo;
};

}  // namespace kt

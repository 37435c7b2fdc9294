#pragma once

#include <string>
#include <string_view>

namespace kt {

/// The absolute address that a reference stands for beside its base (RFC 3986, 5.2). A base without
/// a scheme tells nothing; the reference stays as it is.
std::string resolvedAddress(std::string_view base, std::string_view reference);

}  // namespace kt

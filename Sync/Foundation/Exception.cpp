#include "Sync/Foundation/Exception.h"

#include <utility>

namespace kt {

Exception::Exception(std::string_view name, std::string_view reason, Dictionary userInfo)
    : _name(name),
      _reason(reason),
      _userInfo(std::move(userInfo))
{}

}  // namespace kt

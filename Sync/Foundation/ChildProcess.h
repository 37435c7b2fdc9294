#pragma once

#include <string>
#include <vector>

namespace kt {

/// Starts a program that lives on by itself: nobody waits for it, none of its output comes here,
/// and nothing is left behind when it ends. A name without a slash is looked up in $PATH. False
/// when it cannot be started.
bool startDetachedProcess(const std::string& path, const std::vector<std::string>& arguments);

}  // namespace kt

#pragma once

namespace kt::test {

/// What has been put off until the event loop runs is done now. The application object itself is
/// there for the length of each test run.
void settle();

}  // namespace kt::test

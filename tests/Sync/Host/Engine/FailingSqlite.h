#pragma once

namespace kt::test {

/// Lets the n-th access of SQLite to its files fail, once, with an input or output error. Stands in
/// for the default file layer for as long as it lives; databases have to be opened and closed
/// meanwhile.
class FailingSqlite {
public:
    FailingSqlite();
    ~FailingSqlite();
    FailingSqlite(const FailingSqlite&) = delete;
    FailingSqlite& operator=(const FailingSqlite&) = delete;

    /// Counts from 0; a negative number lets nothing fail.
    static void failAt(int access);
    /// Whether the access that was to fail has been made.
    static bool hasFailed();
};

}  // namespace kt::test

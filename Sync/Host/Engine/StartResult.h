#pragma once

namespace kt {

/// What startSync answers. The plug-in ends at once on 0 and 7, does not rewrite its store after 1
/// and 2, and rewrites it after all others.
enum class StartResult : int {
    noSession = 0,    // the server cannot be reached, or another session of this device is open
    onlyUp = 1,       // only local changes go up
    firstUpload = 2,  // the server holds nothing
    overwrittenLater = 3,    // the user wants the server's state here
    overwrittenAtFirst = 4,  // the same at a first meeting
    incremental = 5,
    full = 6,
    accountOff = 7,
};

/// What the answer follows from.
struct StartFacts {
    bool isReachable = true;  // and no other session of this device is open
    bool isAccountOff = false;
    bool isSettling = false;
    bool isUnsafe = false;  // carrying the store's texts would not keep all, and the user did not
                            // accept that
    bool overwritesUnread = false;  // the user wants what is known written over what is unread
    bool isUnreadNoMore = false;    // what was unread can be read again, or its text is gone
    bool hasMark = false;           // a rewrite was not settled
    bool wantsServer = false;       // the user asked for the server's state
    bool isFirstMeeting = false;
    bool serverHoldsNothing = false;
    bool asksForFull = false;  // the plug-in asked for a full comparison
    bool isOwed = false;       // one was asked for earlier and could not be made
    bool isUnknownServer = false;
    bool isOtherStore = false;   // of another layout than the one that was seen
    bool isServerOlder = false;  // than the anchor
    bool hasNews = false;        // the server has something that is not agreed
};

/// The first answer that applies. Overwriting (3 and 4) never happens by itself: only the user asks
/// for it.
StartResult startResult(const StartFacts& facts);

/// A run that unsafe texts hold back: it goes up only.
bool isHeldByLosses(const StartFacts& facts);

/// Whether a full comparison is asked for or needed, whatever the answer will be.
bool needsFullComparison(const StartFacts& facts);

/// Whether a full comparison stays owed after a session that was answered so: the plug-in forgets
/// that it asked for one as soon as a session ends well, even one that was only answered with 1.
bool isOwedAfter(StartResult result, const StartFacts& facts);

/// Whether the plug-in rewrites its store after such a session.
bool isRewriteExpected(StartResult result);

}  // namespace kt

#include "Sync/Host/Engine/StartResult.h"

namespace kt {

bool isHeldByLosses(const StartFacts& facts)
{
    return !facts.isSettling && facts.isUnsafe && !facts.hasMark;
}

bool needsFullComparison(const StartFacts& facts)
{
    return facts.hasMark || facts.isOwed || facts.asksForFull || facts.isFirstMeeting ||
           facts.isUnknownServer || facts.isOtherStore || facts.isServerOlder ||
           facts.overwritesUnread || facts.isUnreadNoMore;
}

StartResult startResult(const StartFacts& facts)
{
    if (!facts.isReachable)
        return StartResult::noSession;
    if (facts.isAccountOff)
        return StartResult::accountOff;
    if (facts.isSettling || isHeldByLosses(facts))
        return StartResult::onlyUp;
    if (facts.wantsServer)
        return facts.isFirstMeeting ? StartResult::overwrittenAtFirst
                                    : StartResult::overwrittenLater;
    if (facts.serverHoldsNothing && !facts.hasMark && !facts.overwritesUnread)
        return StartResult::firstUpload;
    if (needsFullComparison(facts))
        return StartResult::full;
    return facts.hasNews ? StartResult::incremental : StartResult::onlyUp;
}

bool isOwedAfter(StartResult result, const StartFacts& facts)
{
    if (facts.isSettling)
        return facts.isOwed;
    return result == StartResult::onlyUp && needsFullComparison(facts);
}

bool isRewriteExpected(StartResult result)
{
    switch (result) {
    case StartResult::noSession:
    case StartResult::accountOff:
    case StartResult::onlyUp:
    case StartResult::firstUpload:
        return false;
    case StartResult::overwrittenLater:
    case StartResult::overwrittenAtFirst:
    case StartResult::incremental:
    case StartResult::full:
        return true;
    }
    return false;
}

}  // namespace kt

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Sync/Host/Publishing/PublishedDate.h"
#include "Sync/Host/Publishing/RecurrenceRule.h"
#include "Sync/HostInterface/PublishingOptions.h"

namespace kt {

// A calendar as others may see it. Texts are plain: no escapes of iCalendar are left in them, line
// breaks are line feeds, and nothing but characters that can be shown is in them.

/// What stands in a list of public calendars.
struct PublishedHead {
    std::string key;  // the calendar's record key, part of its address
    std::string title;
    std::string notes;
    std::string color;  // #RRGGBB, or empty
    std::string since;  // when it was made public, as in 2007-12-24T09:00:00Z
    int order = 0;
    PublishingOptions options;
};

struct PublishedAttendee {
    std::string name;
    std::string address;  // a URI, or empty
};

/// What events and tasks share. Of an anonymised item only the stable name is filled in.
struct PublishedItem {
    std::string uid;  // the same for a series and its detached occurrences
    std::string title;
    std::string location;
    std::string notes;
    std::string url;
    std::string stamp;  // DTSTAMP, as in 20071224T090000Z
    std::optional<int> sequence;
    bool isAnonymous = false;
};

struct PublishedEvent : PublishedItem {
    PublishedDate start;
    /// Nullopt for an event that takes no time, or, all-day, a single day.
    std::optional<PublishedDate> end;
    std::optional<RecurrenceRule> rule;
    std::vector<PublishedDate> exceptions;  // starts at which the series does not take place
    /// For a detached occurrence: the start at which it stands in for its series.
    std::optional<PublishedDate> recurrenceId;
    std::vector<PublishedAttendee> attendees;
    bool isTransparent = false;  // does not keep anybody busy
};

struct PublishedTask : PublishedItem {
    std::optional<PublishedDate> start;
    std::optional<PublishedDate> due;
    std::optional<PublishedDate> completed;
    bool isCompleted = false;
    int priority = 0;  // 1 highest to 9 lowest, 0 none
};

struct PublishedCalendar {
    PublishedHead head;
    std::vector<PublishedEvent> events;
    std::vector<PublishedTask> tasks;
};

}  // namespace kt

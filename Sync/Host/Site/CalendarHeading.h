#pragma once

#include <string>

#include "Sync/Host/Publishing/PublishedCalendar.h"
#include "Sync/Host/Site/HtmlWriter.h"

namespace kt {

// How pages name a calendar and what is in it.

/// A calendar has to be called something, or nobody could choose it.
std::string shownTitle(const PublishedHead& head);
/// A dot in the calendar's colour; nothing without one.
void appendSwatch(HtmlWriter& html, const PublishedHead& head);
/// What its owner says about it; nothing without.
void appendNotes(HtmlWriter& html, const PublishedHead& head);
/// "Ereignisse und Aufgaben", "nur die Zeiten, ohne Inhalte".
std::string contentsText(const PublishingOptions& options);

/// "Belegt" or "Frei" for what is anonymised.
std::string shownTitle(const PublishedEvent& event);
std::string shownTitle(const PublishedTask& task);

}  // namespace kt

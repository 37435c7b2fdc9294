#include "Sync/Host/Site/CalendarHeading.h"

#include "Sync/Host/Publishing/PublishedText.h"

namespace kt {

namespace {

constexpr const char* kUntitled = "(ohne Titel)";
constexpr std::size_t kLongestTitle = 200;

std::string titleOr(const std::string& title, const char* other)
{
    return title.find_first_not_of(" \t\n") == std::string::npos
               ? other
               : clippedText(title, kLongestTitle);
}

}  // namespace

std::string shownTitle(const PublishedHead& head) { return titleOr(head.title, kUntitled); }

void appendSwatch(HtmlWriter& html, const PublishedHead& head)
{
    if (head.color.empty())
        return;
    const auto svg =
        html.element("svg",
                     {{"class", "swatch"}, {"viewBox", "0 0 10 10"}, {"aria-hidden", "true"}});
    html.element("circle", {{"cx", "5"}, {"cy", "5"}, {"r", "5"}, {"fill", head.color}}, "");
}

void appendNotes(HtmlWriter& html, const PublishedHead& head)
{
    constexpr std::size_t kLongestNotes = 2000;
    if (head.notes.empty())
        return;
    const auto paragraph = html.element("p");
    html.lines(clippedText(head.notes, kLongestNotes));
}

std::string contentsText(const PublishingOptions& options)
{
    std::string what = options.events ? "Ereignisse" : "Aufgaben";
    if (options.events && options.tasks)
        what = "Ereignisse und Aufgaben";
    if (!options.events && !options.tasks)
        return "kein Inhalt";
    return options.anonymous ? "nur die Zeiten, ohne Inhalte" : what;
}

std::string shownTitle(const PublishedEvent& event)
{
    if (event.isAnonymous)
        return event.isTransparent ? "Frei" : "Belegt";
    return titleOr(event.title, kUntitled);
}

std::string shownTitle(const PublishedTask& task)
{
    return task.isAnonymous ? "Aufgabe" : titleOr(task.title, kUntitled);
}

}  // namespace kt

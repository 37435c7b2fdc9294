#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Sync/HostInterface/Controls.h"
#include "Sync/HostInterface/Nib.h"
#include "Sync/HostInterface/TableView.h"
#include "Sync/HostInterface/Workspace.h"

namespace kt::test {

/// What the controls were asked to do, in order: "publishTasksCheckbox.setEnabled:1". Others that
/// take part may write here as well, so that the order among all of them shows.
using CallList = std::vector<std::string>;

/// A control without a screen: notes what it is asked, and keeps the state it would show.
template <class Base>
class RecordingView : public Base {
public:
    RecordingView(CallList& calls, std::string name) : _calls(calls), _name(std::move(name)) {}

    void setHidden(bool hidden) override
    {
        isHidden = hidden;
        note("setHidden", hidden);
    }
    void display() override { note("display"); }

    const std::string& name() const { return _name; }

    bool isHidden = false;

protected:
    void note(const std::string& operation) { _calls.push_back(_name + "." + operation); }
    void note(const std::string& operation, const std::string& argument)
    {
        note(operation + ":" + argument);
    }
    void note(const std::string& operation, bool argument) { note(operation, argument ? 1 : 0); }
    void note(const std::string& operation, int argument)
    {
        note(operation, std::to_string(argument));
    }

private:
    CallList& _calls;
    std::string _name;
};

class RecordingButton : public RecordingView<Button> {
public:
    using RecordingView::RecordingView;

    void setEnabled(bool enabled) override
    {
        isEnabled = enabled;
        note("setEnabled", enabled);
    }
    void setTitle(const std::string& newTitle) override
    {
        title = newTitle;
        note("setTitle", newTitle);
    }
    std::int32_t intValue() const override { return state; }
    void setIntValue(std::int32_t value) override
    {
        state = value;
        note("setIntValue", value);
    }

    bool isEnabled = true;
    std::string title;
    std::int32_t state = 0;
};

class RecordingLabel : public RecordingView<Label> {
public:
    using RecordingView::RecordingView;

    void setStringValue(const std::string& newText) override
    {
        text = newText;
        note("setStringValue", newText);
    }

    std::string text;
};

class RecordingProgressIndicator : public RecordingView<ProgressIndicator> {
public:
    using RecordingView::RecordingView;

    void setUsesThreadedAnimation(bool threaded) override
    {
        note("setUsesThreadedAnimation", threaded);
    }
    void setDisplayedWhenStopped(bool displayed) override
    {
        note("setDisplayedWhenStopped", displayed);
    }
    void startAnimation() override
    {
        isAnimating = true;
        note("startAnimation");
    }
    void stopAnimation() override
    {
        isAnimating = false;
        note("stopAnimation");
    }

    bool isAnimating = false;
};

class RecordingTableView : public RecordingView<TableView> {
public:
    using RecordingView::RecordingView;

    void setEnabled(bool enabled) override { note("setEnabled", enabled); }
    void setDelegate(TableViewDelegate* newDelegate) override
    {
        delegate = newDelegate;
        note("setDelegate", newDelegate != nullptr);
    }
    void setDataSource(TableViewDataSource* newDataSource) override
    {
        dataSource = newDataSource;
        note("setDataSource", newDataSource != nullptr);
    }
    int selectedRow() const override { return row; }
    void reloadData() override { note("reloadData"); }

    /// A click of the user.
    void select(int newRow)
    {
        row = newRow;
        delegate->tableViewSelectionDidChange();
    }

    TableViewDelegate* delegate = nullptr;
    TableViewDataSource* dataSource = nullptr;
    int row = -1;
};

/// The configuration view without a screen: a control for each outlet.
struct RecordingConfigView {
    CallList calls;
    RecordingView<View> configView{calls, "configView"};
    RecordingTableView syncedCalendarsList{calls, "syncedCalendarsList"};
    RecordingLabel syncCalendarsStatusLabel{calls, "syncCalendarsStatusLabel"};
    RecordingView<TabView> sharingTabView{calls, "sharingTabView"};
    RecordingButton activatePublicSharingButton{calls, "activatePublicSharingButton"};
    RecordingButton publishEventsCheckbox{calls, "publishEventsCheckbox"};
    RecordingButton publishTasksCheckbox{calls, "publishTasksCheckbox"};
    RecordingButton anonymizeAllCheckbox{calls, "anonymizeAllCheckbox"};
    RecordingButton showPublicCalendarsInBrowserButton{calls, "showPublicCalendarsInBrowserButton"};
    RecordingProgressIndicator publicSharingProgress{calls, "publicSharingProgress"};
    RecordingLabel publicSharingStatusLabel{calls, "publicSharingStatusLabel"};

    std::vector<std::pair<std::string, View*>> views()
    {
        return {{configView.name(), &configView},
                {syncedCalendarsList.name(), &syncedCalendarsList},
                {syncCalendarsStatusLabel.name(), &syncCalendarsStatusLabel},
                {sharingTabView.name(), &sharingTabView},
                {activatePublicSharingButton.name(), &activatePublicSharingButton},
                {publishEventsCheckbox.name(), &publishEventsCheckbox},
                {publishTasksCheckbox.name(), &publishTasksCheckbox},
                {anonymizeAllCheckbox.name(), &anonymizeAllCheckbox},
                {showPublicCalendarsInBrowserButton.name(), &showPublicCalendarsInBrowserButton},
                {publicSharingProgress.name(), &publicSharingProgress},
                {publicSharingStatusLabel.name(), &publicSharingStatusLabel}};
    }
};

/// Gives every owner the same view, or none while the "file" is missing.
class RecordingNibLoader : public NibLoader {
public:
    explicit RecordingNibLoader(RecordingConfigView& view) : _view(view) {}

    std::unique_ptr<Nib> loadNibNamed(const std::string& name, NibOwner& owner,
                                      const std::string& bundlePath) override
    {
        requests.push_back(name + " in " + bundlePath);
        if (isMissing)
            return nullptr;
        for (const auto& [outlet, view] : _view.views())
            owner.setOutlet(outlet, view);
        return std::make_unique<LoadedNib>(_view.calls);
    }

    bool isMissing = false;
    std::vector<std::string> requests;

private:
    class LoadedNib : public Nib {
    public:
        explicit LoadedNib(CallList& calls) : _calls(calls) {}
        ~LoadedNib() override { _calls.emplace_back("nib released"); }

    private:
        CallList& _calls;
    };

    RecordingConfigView& _view;
};

class RecordingWorkspace : public Workspace {
public:
    bool openURL(const std::string& url) override
    {
        urls.push_back(url);
        return true;
    }

    std::vector<std::string> urls;
};

}  // namespace kt::test

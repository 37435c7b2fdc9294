#include "Sync/Host/Qt/QtNibLoader.h"

#include <QFile>
#include <QUiLoader>
#include <utility>
#include <vector>

#include "Sync/Foundation/Bundle.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/Host/Qt/OwnerCall.h"
#include "Sync/Host/Qt/QtControls.h"
#include "Sync/Host/Qt/QtTableView.h"

namespace kt {

namespace {

/// The control for a widget by its kind.
std::unique_ptr<View> controlForWidget(QWidget* widget)
{
    if (auto* table = qobject_cast<QTreeView*>(widget))
        return std::make_unique<QtTableView>(table);
    if (auto* tabs = qobject_cast<QTabWidget*>(widget))
        return std::make_unique<QtTabView>(tabs);
    if (auto* button = qobject_cast<QAbstractButton*>(widget))
        return std::make_unique<QtButton>(button);
    if (auto* label = qobject_cast<QLabel*>(widget))
        return std::make_unique<QtLabel>(label);
    if (auto* progress = qobject_cast<QProgressBar*>(widget))
        return std::make_unique<QtProgressIndicator>(progress);
    return std::make_unique<QtPlainView>(widget);
}

/// The widgets belong to the nib until they are put into a window, and go with whichever of the two
/// goes first.
class QtNib : public Nib {
public:
    QtNib(std::unique_ptr<QWidget> root, NibOwner& owner) : _root(root.release())
    {
        connect(_root, owner);
        for (QWidget* widget : _root->findChildren<QWidget*>())
            connect(widget, owner);
    }
    ~QtNib() override
    {
        _controls.clear();
        const std::unique_ptr<QWidget> goesAsWell(_root.data());
    }
    QtNib(const QtNib&) = delete;
    QtNib& operator=(const QtNib&) = delete;

private:
    void connect(QWidget* widget, NibOwner& owner)
    {
        if (widget->objectName().isEmpty())
            return;
        auto control = controlForWidget(widget);
        connectAction(widget, control.get(), owner);
        owner.setOutlet(widget->objectName().toStdString(), control.get());
        _controls.push_back(std::move(control));
    }
    void connectAction(QWidget* widget, View* sender, NibOwner& owner)
    {
        auto* button = qobject_cast<QAbstractButton*>(widget);
        const std::string selector = widget->property("action").toString().toStdString();
        if (button == nullptr || selector.empty())
            return;
        auto action = owner.actionNamed(selector);
        if (!action) {
            NSLog("Die Aktion \"%@\" gibt es nicht.", selector);
            return;
        }
        QObject::connect(button, &QAbstractButton::clicked, &_connections,
                         [selector, sender, run = std::move(action)] {
                             callOwner(selector, [&] { run(sender); });
                         });
    }

    QPointer<QWidget> _root;
    std::vector<std::unique_ptr<View>> _controls;
    QObject _connections;  // actions end with this object
};

}  // namespace

std::unique_ptr<Nib> QtNibLoader::loadNibNamed(const std::string& name, NibOwner& owner,
                                               const std::string& bundlePath)
{
    const auto bundle = Bundle::bundleWithPath(bundlePath);
    const auto path = bundle ? bundle->pathForResource(name + ".ui") : std::nullopt;
    if (!path)
        return nullptr;
    QFile file(QString::fromStdString(*path));
    QUiLoader loader;
    std::unique_ptr<QWidget> root(file.open(QIODevice::ReadOnly) ? loader.load(&file) : nullptr);
    if (!root) {
        NSLog(file.isOpen() ? "\"%@\" beschreibt keine Ansicht."
                            : "\"%@\" kann nicht gelesen werden.",
              *path);
        return nullptr;
    }
    return std::make_unique<QtNib>(std::move(root), owner);
}

}  // namespace kt

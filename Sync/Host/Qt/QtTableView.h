#pragma once

#include <QObject>
#include <QTreeView>

#include "Sync/Host/Qt/QtControls.h"
#include "Sync/Host/Qt/TableModel.h"
#include "Sync/HostInterface/TableView.h"

namespace kt {

/// A table of columns that the interface file lists in three properties of the widget:
/// columnIdentifiers, columnTitles, and columnKinds, where "switch" is a column of check boxes. The
/// space bar turns over the check box of the row with the cursor, and the arrow keys begin a
/// selection there.
class QtTableView : public QtView<TableView, QTreeView> {
public:
    explicit QtTableView(QTreeView* widget);

    void setEnabled(bool enabled) override;
    void setDelegate(TableViewDelegate* delegate) override;
    /// Reads the cells as soon as the event at hand is over: the owner may still be filling them.
    void setDataSource(TableViewDataSource* dataSource) override;
    int selectedRow() const override;
    void reloadData() override;

private:
    /// The check box stands in one column, the cursor may stand in another. And a list that gets
    /// the focus has a cursor but no selection: keys that only move the cursor would never select
    /// the only row there is.
    class Keys : public QObject {
    public:
        explicit Keys(TableModel& model) : _model(model) {}
        bool eventFilter(QObject* watched, QEvent* event) override;

    private:
        TableModel& _model;
    };

    void lookAfterColumns();
    void readRows();
    void selectRow(int row);
    void tellOfSelection();

    TableModel _model;
    Keys _keys{_model};
    bool _isReading = false;  // what becomes of the selection meanwhile is told afterwards
    QObject _connections;     // what hangs on it ends with this object
};

}  // namespace kt

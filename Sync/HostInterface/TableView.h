#pragma once

#include <optional>
#include <string>

#include "Sync/Foundation/Value.h"
#include "Sync/HostInterface/Controls.h"

namespace kt {

class TableView;

/// A column, known to the data source by its identifier.
struct TableColumn {
    std::string identifier;
};

/// Where a table takes its cells from and puts edited ones. Rows count from 0.
class TableViewDataSource {
public:
    virtual ~TableViewDataSource() = default;

    virtual int numberOfRowsInTableView(TableView* tableView) = 0;
    /// tableView:objectValueForTableColumn:row:
    virtual Value tableViewObjectValueForTableColumn(TableView* tableView,
                                                     const TableColumn& tableColumn, int row) = 0;
    /// tableView:setObjectValue:forTableColumn:row:
    virtual void tableViewSetObjectValue(TableView* tableView, const Value& objectValue,
                                         const TableColumn& tableColumn, int row) = 0;
    /// Optional: what tells the row from all others, whatever place it has at the next reading. By
    /// default rows are known by their place alone.
    virtual std::optional<std::string> tableViewIdentityOfRow(TableView* tableView, int row);
};

/// Who wants to know what happens in a table, and may say how it looks.
class TableViewDelegate {
public:
    virtual ~TableViewDelegate() = default;

    virtual void tableViewSelectionDidChange() = 0;
    /// Optional: the colour that stands for a row, "#RRGGBB" (a table may show none).
    virtual std::optional<std::string> tableViewColorForRow(TableView* tableView, int row);
};

/// A table of rows of which at most one is selected. Keeps neither data source nor delegate alive;
/// both may be null. Reads its cells when it is given a data source, when it is told to, after an
/// edit of that row and after the delegate was told of a selection, but never in between.
class TableView : public Control {
public:
    virtual void setDelegate(TableViewDelegate* delegate) = 0;
    /// Where a row is selected, the delegate is told of it again: a data source that was given anew
    /// may hold something else for it.
    virtual void setDataSource(TableViewDataSource* dataSource) = 0;
    /// -1 when none is selected.
    virtual int selectedRow() const = 0;
    /// The selection stays with its row as long as that exists, wherever it went.
    virtual void reloadData() = 0;
};

}  // namespace kt

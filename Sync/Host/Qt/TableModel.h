#pragma once

#include <QAbstractTableModel>
#include <QColor>
#include <QString>
#include <optional>
#include <string>
#include <vector>

#include "Sync/HostInterface/TableView.h"

namespace kt {

/// A copy of what a table's data source shows, read when it is told to. Between two readings the
/// data source is not asked for anything, so that a window can be drawn at any time.
class TableModel : public QAbstractTableModel {
public:
    enum class Kind { text, checkBox };
    struct Column {
        TableColumn column;
        Kind kind = Kind::text;
        QString title;
    };

    /// `table` is what data source and delegate are told they are asked for.
    TableModel(TableView* table, std::vector<Column> columns);

    /// Takes effect with the next reload; without a data source the table is empty at once.
    void setDataSource(TableViewDataSource* dataSource);
    void setDelegate(TableViewDelegate* delegate) { _delegate = delegate; }
    TableViewDelegate* delegate() const { return _delegate; }
    /// A selection stays at its place; whoever wants it to go with its row asks for the identity.
    void reload();
    /// What the data source knows the row by; nullopt where it knows it by its place.
    std::optional<std::string> identityOfRow(int row) const;
    /// -1 when there is none.
    int rowWithIdentity(const std::string& identity) const;
    /// Turns the row's first check box over.
    void toggle(int row);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;

private:
    struct Cell {
        QString text;  // of a text column
        bool isTicked = false;
    };
    struct Row {
        std::vector<Cell> cells;
        QColor color;  // invalid for none
        std::optional<std::string> identity;
    };

    void setNumberOfRows(int count);
    Row readRow(int row) const;
    int firstColumn(Kind kind) const;  // -1 for none
    QString accessibleText(const Row& row, int column) const;

    TableView* _table;
    std::vector<Column> _columns;
    TableViewDataSource* _dataSource = nullptr;
    TableViewDelegate* _delegate = nullptr;
    std::vector<Row> _rows;
};

}  // namespace kt

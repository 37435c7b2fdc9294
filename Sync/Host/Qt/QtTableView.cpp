#include "Sync/Host/Qt/QtTableView.h"

#include <QApplication>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QKeyEvent>
#include <QMetaObject>
#include <QStringList>
#include <algorithm>
#include <utility>

#include "Sync/Host/Qt/OwnerCall.h"

namespace kt {

namespace {

std::vector<TableModel::Column> columnsOfWidget(const QWidget& widget)
{
    const QStringList identifiers = widget.property("columnIdentifiers").toStringList();
    const QStringList kinds = widget.property("columnKinds").toStringList();
    const QStringList titles = widget.property("columnTitles").toStringList();
    std::vector<TableModel::Column> columns;
    for (qsizetype i = 0; i < identifiers.size(); ++i) {
        TableModel::Column column;
        column.column.identifier = identifiers[i].toStdString();
        if (kinds.value(i) == QStringLiteral("switch"))
            column.kind = TableModel::Kind::checkBox;
        column.title = titles.value(i);
        columns.push_back(std::move(column));
    }
    return columns;
}

void selectRowOf(QTreeView& table, int row)
{
    const int column = std::max(0, table.currentIndex().column());
    table.selectionModel()->setCurrentIndex(table.model()->index(row, column),
                                            QItemSelectionModel::ClearAndSelect |
                                                QItemSelectionModel::Rows);
}

/// False for another key, and where something is selected already.
bool beginSelection(QTreeView& table, int key)
{
    const int rows = table.model()->rowCount();
    if (rows == 0 || table.selectionModel()->hasSelection())
        return false;
    switch (key) {
    case Qt::Key_Up:
    case Qt::Key_Down:
        selectRowOf(table, std::max(0, table.currentIndex().row()));
        return true;
    case Qt::Key_Home:
    case Qt::Key_PageUp:
        selectRowOf(table, 0);
        return true;
    case Qt::Key_End:
    case Qt::Key_PageDown:
        selectRowOf(table, rows - 1);
        return true;
    default:
        return false;
    }
}

}  // namespace

bool QtTableView::Keys::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::KeyPress)
        return false;
    const auto* key = static_cast<QKeyEvent*>(event);
    auto* table = qobject_cast<QTreeView*>(watched);
    if (table == nullptr || (key->modifiers() & ~Qt::KeypadModifier) != Qt::NoModifier)
        return false;
    if (key->key() != Qt::Key_Space || !table->currentIndex().isValid())
        return beginSelection(*table, key->key());
    _model.toggle(table->currentIndex().row());
    return true;
}

QtTableView::QtTableView(QTreeView* tree) : QtView(tree), _model(this, columnsOfWidget(*tree))
{
    tree->setModel(&_model);
    tree->setSelectionMode(QAbstractItemView::SingleSelection);
    tree->setSelectionBehavior(QAbstractItemView::SelectRows);
    tree->installEventFilter(&_keys);
    lookAfterColumns();
    QObject::connect(tree->selectionModel(), &QItemSelectionModel::selectionChanged, &_connections,
                     [this] {
                         if (!_isReading)
                             tellOfSelection();
                     });
}

void QtTableView::lookAfterColumns()
{
    QHeaderView* header = widget()->header();
    header->setSectionsMovable(false);
    header->setSectionsClickable(false);
    header->setStretchLastSection(true);
    for (int column = 0; column + 1 < _model.columnCount(); ++column)
        header->setSectionResizeMode(column, QHeaderView::ResizeToContents);
}

/// The delegate can change what the cells show. They are read when the event at hand is over, for
/// it may be one of the rows' own.
void QtTableView::tellOfSelection()
{
    if (_model.delegate() == nullptr)
        return;
    const QPointer<QWidget> focus = QApplication::focusWidget();
    callOwner("tableViewSelectionDidChange:",
              [this] { _model.delegate()->tableViewSelectionDidChange(); });
    // Controls that were off for a moment have lost it.
    if (focus && !focus->hasFocus() && focus->isEnabled() && focus->isVisible())
        focus->setFocus();
    QMetaObject::invokeMethod(
        &_connections, [this] { reloadData(); }, Qt::QueuedConnection);
}

void QtTableView::readRows()
{
    const int before = selectedRow();
    const auto identity = _model.identityOfRow(before);
    _isReading = true;
    _model.reload();
    const int byPlace = before < _model.rowCount() ? before : -1;
    selectRow(identity ? _model.rowWithIdentity(*identity) : byPlace);
    _isReading = false;
}

void QtTableView::selectRow(int row)
{
    if (widget() == nullptr || row == selectedRow())
        return;
    if (row < 0)
        widget()->selectionModel()->clear();
    else
        selectRowOf(*widget(), row);
}

void QtTableView::setEnabled(bool enabled)
{
    if (widget() != nullptr)
        widget()->setEnabled(enabled);
}

void QtTableView::setDelegate(TableViewDelegate* delegate) { _model.setDelegate(delegate); }

void QtTableView::setDataSource(TableViewDataSource* dataSource)
{
    _model.setDataSource(dataSource);
    if (dataSource == nullptr)
        return;
    const auto begin = [this] {
        const bool hadSelection = selectedRow() >= 0;
        readRows();
        if (hadSelection)
            tellOfSelection();
    };
    QMetaObject::invokeMethod(&_connections, begin, Qt::QueuedConnection);
}

int QtTableView::selectedRow() const
{
    if (widget() == nullptr)
        return -1;
    const auto rows = widget()->selectionModel()->selectedRows();
    return rows.isEmpty() ? -1 : rows.front().row();
}

void QtTableView::reloadData()
{
    const bool hadSelection = selectedRow() >= 0;
    readRows();
    if (hadSelection && selectedRow() < 0)
        tellOfSelection();
}

}  // namespace kt

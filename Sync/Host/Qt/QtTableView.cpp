#include "Sync/Host/Qt/QtTableView.h"

#include <QHeaderView>
#include <QItemSelectionModel>
#include <QKeyEvent>
#include <QMetaObject>
#include <QStringList>
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

}  // namespace

bool QtTableView::SpaceBar::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::KeyPress)
        return false;
    const auto* key = static_cast<QKeyEvent*>(event);
    const auto* table = qobject_cast<QTreeView*>(watched);
    if (key->key() != Qt::Key_Space || key->modifiers() != Qt::NoModifier || table == nullptr ||
        !table->currentIndex().isValid())
        return false;
    _model.toggle(table->currentIndex().row());
    return true;
}

QtTableView::QtTableView(QTreeView* tree) : QtView(tree), _model(this, columnsOfWidget(*tree))
{
    tree->setModel(&_model);
    tree->setSelectionMode(QAbstractItemView::SingleSelection);
    tree->setSelectionBehavior(QAbstractItemView::SelectRows);
    tree->installEventFilter(&_spaceBar);
    lookAfterColumns();
    QObject::connect(tree->selectionModel(), &QItemSelectionModel::selectionChanged, &_connections,
                     [this] { selectionChanged(); });
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

void QtTableView::selectionChanged()
{
    if (_model.delegate() != nullptr)
        callOwner("tableViewSelectionDidChange:",
                  [this] { _model.delegate()->tableViewSelectionDidChange(); });
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
    if (dataSource != nullptr)
        QMetaObject::invokeMethod(
            &_connections, [this] { reloadData(); }, Qt::QueuedConnection);
}

int QtTableView::selectedRow() const
{
    if (widget() == nullptr)
        return -1;
    const auto rows = widget()->selectionModel()->selectedRows();
    return rows.isEmpty() ? -1 : rows.front().row();
}

void QtTableView::reloadData() { _model.reload(); }

}  // namespace kt

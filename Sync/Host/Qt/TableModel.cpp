#include "Sync/Host/Qt/TableModel.h"

#include <QIcon>
#include <QPainter>
#include <QPixmap>
#include <QTextDocument>
#include <algorithm>
#include <utility>

#include "Sync/Host/Qt/OwnerCall.h"

namespace kt {

namespace {

/// "#RRGGBB", with or without more behind it. Invalid for anything else, names of colours included.
QColor colorFromText(const std::optional<std::string>& text)
{
    constexpr std::size_t kLength = 7;
    return text && text->size() >= kLength && text->starts_with('#')
               ? QColor(QString::fromStdString(text->substr(0, kLength)))
               : QColor();
}

/// For what takes a text with tags in it as markup.
QString asPlainText(const QString& text)
{
    return Qt::mightBeRichText(text) ? Qt::convertFromPlainText(text) : text;
}

/// A disc, drawn fine enough for screens of double density.
QIcon swatch(const QColor& color)
{
    constexpr int kSide = 16;
    constexpr int kDensity = 3;
    constexpr qreal kMargin = 2;
    QPixmap pixmap(kSide * kDensity, kSide * kDensity);
    pixmap.setDevicePixelRatio(kDensity);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(color.darker(), 1));
    painter.setBrush(color);
    painter.drawEllipse(QRectF(0, 0, kSide, kSide).adjusted(kMargin, kMargin, -kMargin, -kMargin));
    return QIcon(pixmap);
}

}  // namespace

TableModel::TableModel(TableView* table, std::vector<Column> columns)
    : _table(table),
      _columns(std::move(columns))
{}

void TableModel::setDataSource(TableViewDataSource* dataSource)
{
    _dataSource = dataSource;
    if (_dataSource == nullptr)
        setNumberOfRows(0);
}

void TableModel::reload()
{
    int count = 0;
    if (_dataSource != nullptr)
        callOwner("numberOfRowsInTableView:",
                  [&] { count = _dataSource->numberOfRowsInTableView(_table); });
    std::vector<Row> rows;
    for (int row = 0; row < count; ++row)
        rows.push_back(readRow(row));
    // The rows stand ready before anybody is told of their number.
    setNumberOfRows(count);
    _rows = std::move(rows);
    if (count > 0)
        emit dataChanged(index(0, 0), index(count - 1, columnCount() - 1));
}

void TableModel::setNumberOfRows(int count)
{
    const int before = rowCount();
    if (count > before) {
        beginInsertRows({}, before, count - 1);
        _rows.resize(static_cast<std::size_t>(count),
                     Row{std::vector<Cell>(_columns.size()), {}, {}});
        endInsertRows();
    } else if (count < before) {
        beginRemoveRows({}, count, before - 1);
        _rows.resize(static_cast<std::size_t>(count));
        endRemoveRows();
    }
}

TableModel::Row TableModel::readRow(int row) const
{
    Row read{std::vector<Cell>(_columns.size()), {}, {}};
    for (std::size_t column = 0; column < _columns.size(); ++column) {
        Value value;
        callOwner("tableView:objectValueForTableColumn:row:", [&] {
            value = _dataSource->tableViewObjectValueForTableColumn(_table, _columns[column].column,
                                                                    row);
        });
        if (_columns[column].kind == Kind::checkBox)
            read.cells[column].isTicked = value.isNumber() && value.boolValue();
        else
            read.cells[column].text = QString::fromStdString(value.description());
    }
    callOwner("tableView:identityOfRow:",
              [&] { read.identity = _dataSource->tableViewIdentityOfRow(_table, row); });
    if (_delegate != nullptr)
        callOwner("tableView:colorForRow:", [&] {
            read.color = colorFromText(_delegate->tableViewColorForRow(_table, row));
        });
    return read;
}

std::optional<std::string> TableModel::identityOfRow(int row) const
{
    return row < 0 || row >= rowCount() ? std::nullopt
                                        : _rows[static_cast<std::size_t>(row)].identity;
}

int TableModel::rowWithIdentity(const std::string& identity) const
{
    const auto found = std::find_if(_rows.begin(), _rows.end(),
                                    [&](const Row& row) { return row.identity == identity; });
    return found == _rows.end() ? -1 : static_cast<int>(found - _rows.begin());
}

void TableModel::toggle(int row)
{
    const int column = firstColumn(Kind::checkBox);
    if (column < 0 || row < 0 || row >= rowCount())
        return;
    const QModelIndex cell = index(row, column);
    setData(cell, data(cell, Qt::CheckStateRole) == Qt::Checked ? Qt::Unchecked : Qt::Checked,
            Qt::CheckStateRole);
}

int TableModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(_rows.size());
}

int TableModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(_columns.size());
}

QVariant TableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 ||
        section >= columnCount())
        return {};
    return _columns[static_cast<std::size_t>(section)].title;
}

Qt::ItemFlags TableModel::flags(const QModelIndex& index) const
{
    Qt::ItemFlags flags = QAbstractTableModel::flags(index);
    if (index.isValid() &&
        _columns[static_cast<std::size_t>(index.column())].kind == Kind::checkBox)
        flags |= Qt::ItemIsUserCheckable;
    return flags;
}

QVariant TableModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid())
        return {};
    const Row& row = _rows[static_cast<std::size_t>(index.row())];
    const Cell& cell = row.cells[static_cast<std::size_t>(index.column())];
    const Kind kind = _columns[static_cast<std::size_t>(index.column())].kind;
    if (role == Qt::AccessibleTextRole)
        return accessibleText(row, index.column());
    if (kind == Kind::checkBox)
        return role == Qt::CheckStateRole ? QVariant(cell.isTicked ? Qt::Checked : Qt::Unchecked)
                                          : QVariant();
    if (role == Qt::DisplayRole)
        return cell.text;
    if (role == Qt::ToolTipRole)
        return asPlainText(cell.text);
    if (role == Qt::DecorationRole && row.color.isValid())
        return swatch(row.color);
    return {};
}

int TableModel::firstColumn(Kind kind) const
{
    const auto found = std::find_if(_columns.begin(), _columns.end(),
                                    [kind](const Column& column) { return column.kind == kind; });
    return found == _columns.end() ? -1 : static_cast<int>(found - _columns.begin());
}

/// A check box without a text says of what it is, and a text whether its row is ticked: a cursor
/// stands in one of the two only.
QString TableModel::accessibleText(const Row& row, int column) const
{
    const auto isKind = [this](int index, Kind kind) {
        return index >= 0 && _columns[static_cast<std::size_t>(index)].kind == kind;
    };
    const int text = isKind(column, Kind::text) ? column : firstColumn(Kind::text);
    const int box = isKind(column, Kind::checkBox) ? column : firstColumn(Kind::checkBox);
    QStringList parts;
    if (text >= 0)
        parts << row.cells[static_cast<std::size_t>(text)].text.trimmed();
    if (box >= 0)
        parts << (row.cells[static_cast<std::size_t>(box)].isTicked
                      ? QStringLiteral("aktiv")
                      : QStringLiteral("nicht aktiv"));
    return parts.join(QStringLiteral(", "));
}

bool TableModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (!index.isValid() || role != Qt::CheckStateRole || _dataSource == nullptr ||
        _columns[static_cast<std::size_t>(index.column())].kind != Kind::checkBox)
        return false;
    callOwner("tableView:setObjectValue:forTableColumn:row:", [&] {
        _dataSource->tableViewSetObjectValue(
            _table, value.toInt() == Qt::Unchecked ? 0 : 1,
            _columns[static_cast<std::size_t>(index.column())].column, index.row());
    });
    _rows[static_cast<std::size_t>(index.row())] = readRow(index.row());
    emit dataChanged(this->index(index.row(), 0), this->index(index.row(), columnCount() - 1));
    return true;
}

}  // namespace kt

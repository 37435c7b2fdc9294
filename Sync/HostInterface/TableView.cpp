#include "Sync/HostInterface/TableView.h"

namespace kt {

std::optional<std::string> TableViewDelegate::tableViewColorForRow(TableView*, int)
{
    return std::nullopt;
}

}  // namespace kt

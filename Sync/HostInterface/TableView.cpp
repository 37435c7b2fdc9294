#include "Sync/HostInterface/TableView.h"

namespace kt {

std::optional<std::string> TableViewDataSource::tableViewIdentityOfRow(TableView*, int)
{
    return std::nullopt;
}

std::optional<std::string> TableViewDelegate::tableViewColorForRow(TableView*, int)
{
    return std::nullopt;
}

}  // namespace kt

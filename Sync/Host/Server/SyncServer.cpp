#include "Sync/Host/Server/SyncServer.h"

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Host/Server/SqliteServer.h"

namespace kt {

std::unique_ptr<SyncServer> syncServerWithURL(std::string_view url, std::chrono::milliseconds wait)
{
    constexpr std::string_view sqlite = "sqlite:";
    if (url.substr(0, sqlite.size()) == sqlite && url.size() > sqlite.size())
        return std::make_unique<SqliteServer>(std::string(url.substr(sqlite.size())), wait);
    throw Exception(NSInvalidArgumentException,
                    stringWithFormat("Unbekannte Server-Adresse '%@' (erwartet: sqlite:PFAD)",
                                     url));
}

}  // namespace kt

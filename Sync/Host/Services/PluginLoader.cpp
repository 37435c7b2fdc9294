#include "Sync/Host/Services/PluginLoader.h"

#include <exception>
#include <utility>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Format.h"

namespace kt {

namespace {

template <class... Arguments>
[[noreturn]] void refuse(std::string_view format, const Arguments&... arguments)
{
    throw Exception(NSGenericException, stringWithFormat(format, arguments...));
}

std::shared_ptr<Bundle> checkedBundle(const std::string& path)
{
    if (!FileManager::defaultManager().isDirectory(path))
        refuse("Es gibt kein Plug-in \"%@\".", path);
    auto bundle = Bundle::bundleWithPath(path);
    if (!bundle)
        refuse("Das Plug-in \"%@\" hat keine lesbare Info.plist.", path);
    return bundle;
}

std::string checkedPrincipalClass(const Bundle& bundle)
{
    const Value& name = bundle.infoDictionary()["NSPrincipalClass"];
    if (!name.isString() || name.string().empty())
        refuse("Die Info.plist des Plug-ins \"%@\" nennt keine Hauptklasse (NSPrincipalClass).",
               bundle.bundlePath());
    return std::string(name.string());
}

/// The bundle's own names decide what is opened, so they must not lead out of it.
void checkExecutable(const Bundle& bundle)
{
    const Value& name = bundle.infoDictionary()["CFBundleExecutable"];
    if (!name.isNil() && (!name.isString() || !isPlainPathComponent(name.string())))
        refuse("Die Info.plist des Plug-ins \"%@\" nennt kein gültiges Programm.",
               bundle.bundlePath());
    if (!FileManager::defaultManager().fileExistsAtPath(bundle.executablePath()))
        refuse("Dem Plug-in \"%@\" fehlt das Programm \"%@\".", bundle.bundlePath(),
               lastPathComponent(bundle.executablePath()));
}

template <class Function>
Function checkedSymbol(const Bundle& bundle, const char* name)
{
    void* symbol = bundle.symbolNamed(name);
    if (symbol == nullptr)
        refuse("Das Plug-in \"%@\" ist kein Synchronisierungs-Plug-in: \"%@\" fehlt.",
               bundle.bundlePath(), name);
    return reinterpret_cast<Function>(symbol);
}

void checkInterfaceVersion(const Bundle& bundle)
{
    const auto version =
        checkedSymbol<PluginInterfaceVersionFunction>(bundle, kPluginInterfaceVersionSymbol);
    const int spoken = version();
    if (spoken != kPluginInterfaceVersion)
        refuse("Das Plug-in \"%@\" spricht Version %d der Schnittstelle, gebraucht wird %d.",
               bundle.bundlePath(), spoken, kPluginInterfaceVersion);
}

}  // namespace

LoadedPlugin::LoadedPlugin(std::shared_ptr<Bundle> bundle, const KTClassTable& classes)
    : _bundle(std::move(bundle)),
      _classesBefore(hostClassTable())
{
    setHostClassTable(classes);
}

LoadedPlugin::~LoadedPlugin()
{
    _principal.reset();
    setHostClassTable(std::move(_classesBefore));
}

std::unique_ptr<LoadedPlugin> PluginLoader::load(const std::string& path,
                                                 const KTClassTable& classes,
                                                 KTSyncPluginHelper& helper)
{
    auto bundle = checkedBundle(path);
    const std::string principalClass = checkedPrincipalClass(*bundle);
    checkExecutable(*bundle);
    std::string error;
    if (!bundle->load(error))
        refuse("Das Plug-in \"%@\" kann nicht geladen werden: %@", path, error);
    checkInterfaceVersion(*bundle);
    const auto create = checkedSymbol<PluginCreateFunction>(*bundle, kPluginCreateSymbol);

    std::unique_ptr<LoadedPlugin> plugin(new LoadedPlugin(std::move(bundle), classes));
    try {
        plugin->_principal.reset(
            create(principalClass.c_str(), &hostClassTable(), &helper, path.c_str()));
    } catch (const std::exception& failure) {
        // The text is copied, because what was thrown may belong to code that is about to go.
        refuse("Das Plug-in \"%@\" konnte nicht starten: %@", path, std::string(failure.what()));
    }
    if (!plugin->_principal)
        refuse("Das Plug-in \"%@\" kann seine Hauptklasse \"%@\" nicht bereitstellen.", path,
               principalClass);
    return plugin;
}

}  // namespace kt

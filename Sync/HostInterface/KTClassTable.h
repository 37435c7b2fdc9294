#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kt {

/// A class object of the host: what can be asked of a class rather than of one of its instances.
class KTHostClass {
public:
    virtual ~KTHostClass() = default;
};

/// The host's classes by name. The plug-in looks them up at run time, so that it links against no
/// host. The host owns the class objects and keeps them as long as the plug-in is loaded.
class KTClassTable {
public:
    void setClass(std::string_view name, KTHostClass* hostClass);
    /// Null when the host has no class of that name.
    KTHostClass* classNamed(std::string_view name) const;

private:
    std::vector<std::pair<std::string, KTHostClass*>> _classes;  // a handful
};

/// The table in force for this process, empty until a host sets one.
const KTClassTable& hostClassTable();
void setHostClassTable(KTClassTable table);

/// NSClassFromString: the class object, or null when the host has none of that name.
KTHostClass* NSClassFromString(std::string_view name);

/// The class object of that kind under its own name, or null.
template <class T>
T* hostClass()
{
    return dynamic_cast<T*>(NSClassFromString(T::className));
}

}  // namespace kt

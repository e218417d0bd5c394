#include "TNUserPublishingLookUp.h"

#include <map>
#include <mutex>

const char* const kTNUserPublishingLookUpRequestClassName = "TNUserPublishingLookUpRequest";

namespace {

struct Registry {
    std::mutex lock;
    std::map<std::string, TNUserPublishingLookUpClass, std::less<>> classes;
    TNUserPublishingPageLoader pageLoader;
};

Registry& registry()
{
    static Registry shared;
    return shared;
}

} // namespace

void TNRegisterUserPublishingLookUpClass(const std::string& name, std::optional<TNUserPublishingLookUpClass> lookUpClass)
{
    std::lock_guard lock(registry().lock);
    if (lookUpClass)
        registry().classes[name] = std::move(*lookUpClass);
    else
        registry().classes.erase(name);
}

std::optional<TNUserPublishingLookUpClass> TNUserPublishingLookUpClassNamed(const std::string& name)
{
    std::lock_guard lock(registry().lock);
    auto found = registry().classes.find(name);
    if (found == registry().classes.end())
        return std::nullopt;
    return found->second;
}

void TNSetUserPublishingPageLoader(TNUserPublishingPageLoader loader)
{
    std::lock_guard lock(registry().lock);
    registry().pageLoader = std::move(loader);
}

TNUserPublishingPageLoader TNUserPublishingCurrentPageLoader()
{
    std::lock_guard lock(registry().lock);
    return registry().pageLoader;
}

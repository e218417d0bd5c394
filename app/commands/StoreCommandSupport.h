#pragma once
// What the commands that take an annotation store share: opening it with its
// context, and UTF-16 text from an option.
#include "app/PMCommand.h"

#include "TNAnnotation/TNAnnotationStoreDataSource.h"
#include "Utilities/KCStringConversion.h"

#include <filesystem>
#include <memory>

struct PMStoreSession {
    std::unique_ptr<TNAnnotationStoreDataSource> store;
    std::shared_ptr<KCManagedObjectContext> context;
};

// The store file at `path`, created when missing; nothing when it cannot be opened.
inline std::optional<PMStoreSession> PMOpenStore(const std::string& path)
{
    auto url = KCURL::fileURLWithPath(std::filesystem::absolute(path).lexically_normal().string());
    if (!url)
        return std::nullopt;
    PMStoreSession session {std::make_unique<TNAnnotationStoreDataSource>(*url), nullptr};
    session.store->loadObjectStore();
    if (!session.store->persistentStore())
        return std::nullopt;
    session.context = session.store->newManagedObjectContext();
    return session;
}

inline std::optional<std::u16string> PMTextOption(const PMArguments& arguments, const std::string& name)
{
    auto text = arguments.option(name);
    return text ? std::optional<std::u16string>(KCUTF16FromUTF8(*text)) : std::nullopt;
}

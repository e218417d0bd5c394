#pragma once
// A fresh context on an annotation store that never touches a file, made
// once per fuzz process, with the log silenced (the targets feed it nonsense
// on purpose).
#include "TNAnnotation/TNAnnotationStoreDataSource.h"
#include "Utilities/KCLogger.h"

inline std::shared_ptr<KCManagedObjectContext> PMFuzzAnnotationContext()
{
    static TNAnnotationStoreDataSource* const source = [] {
        KCLogger::sharedLogger()->setFilter(std::string("\x01"));
        auto* store = new TNAnnotationStoreDataSource(*KCURL::fileURLWithPath("/nonexistent/Annotations.sqlite"));
        store->loadManagedObjectModel();
        store->loadPersistentStoreCoordinator();
        return store;
    }();
    return source->newManagedObjectContext();
}

#pragma once
// An annotation store in a scratch directory.
#include "Database/tests/KCStoreTestSupport.h"
#include "TNAnnotation/TNAnnotation.h"
#include "TNAnnotation/TNAnnotationStoreDataSource.h"

#include <gtest/gtest.h>

struct TNScratchStore {
    KCScratchDirectory directory;
    std::unique_ptr<TNAnnotationStoreDataSource> store;

    TNScratchStore() { reopen(); }
    void reopen()
    {
        store.reset();
        store = std::make_unique<TNAnnotationStoreDataSource>(url());
        store->loadObjectStore();
    }
    KCURL url() const { return directory.url(TNAnnotationStoreDataSource(*KCURL::fileURLWithPath("/")).persistentStoreName()); }
    std::string path() const { return url().path(); }
};

#pragma once
// The annotation store: the "Annotations" object model in Annotations.sqlite.
#include "Database/KCStoreDataSource.h"

class TNAnnotationStoreDataSource : public KCStoreDataSource {
public:
    using KCStoreDataSource::KCStoreDataSource;

    std::string managedObjectModelName() const override { return "Annotations"; }
};

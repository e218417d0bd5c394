#pragma once
// One product record of the store look-up: its cover artwork and its
// content rating.
#include "Utilities/KCGeometry.h"
#include "Utilities/KCURL.h"
#include "Utilities/KCValue.h"

#include <optional>

class TNUserPublishingProductProfile {
public:
    // Nothing for a record that is not a dictionary.
    static std::optional<TNUserPublishingProductProfile> initWithProfileDictionary(const KCValue& record);

    const KCDictionary& profileDictionary() const { return m_profileDictionary; }

    // The first artwork that reaches the size in width or height, else the
    // largest; with an empty size, the largest.
    std::optional<KCURL> urlForCoverImageOfSize(KCSize size) const;
    // A content rating named "explicit" (any case) whose value is true.
    bool isExplicit() const;

private:
    explicit TNUserPublishingProductProfile(KCDictionary record) : m_profileDictionary(std::move(record)) {}
    KCDictionary m_profileDictionary;
};

#pragma once
// The files of KCCommonCore/Resources, compiled into the KCResources library
// by KCEmbedResources.cmake. Only the bundle reads them.
#include <cstddef>

struct KCEmbeddedResource {
    const char* fileName;  // "TNAssetShare.css"
    const unsigned char* bytes;
    size_t length;
};

// Sorted by file name.
const KCEmbeddedResource* KCEmbeddedResources(size_t* count);

#pragma once
// Owning pointers for what GLib hands over, released by the function GLib
// names for it, so that early returns cannot leak it.
#include <glib.h>

#include <memory>

template <auto Release>
struct KCGLibDeleter {
    template <typename T>
    void operator()(T* pointer) const { Release(pointer); }
};

using KCGCharPointer = std::unique_ptr<char, KCGLibDeleter<g_free>>;
using KCGStrvPointer = std::unique_ptr<char*, KCGLibDeleter<g_strfreev>>;
using KCGUriPointer = std::unique_ptr<GUri, KCGLibDeleter<g_uri_unref>>;

#pragma once
// The JSON forms that the pagemoor program prints with --json.
#include "PMBook.h"

#include <nlohmann/json.hpp>

// Package metadata, manifest, spine and resource information.
nlohmann::ordered_json PMBookInfoJSON(const PMBook& book);

// Pretty-printed; ill-formed UTF-8 is replaced rather than refused.
std::string PMJSONText(const nlohmann::ordered_json& json);

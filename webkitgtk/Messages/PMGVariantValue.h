#pragma once
// Message bodies between the reader's UI process and the web process travel
// as GVariant: dictionaries as a{sv}, data as ay, arrays of dictionaries as
// aa{sv}, other arrays as av, null as the empty tuple.
#include "Utilities/KCValue.h"

typedef struct _GVariant GVariant;

// A new floating GVariant; opaque objects cannot travel and become null (logged).
GVariant* PMGVariantFromKCValue(const KCValue& value);
// Nothing (null) gives a null value.
KCValue PMKCValueFromGVariant(GVariant* variant);

#pragma once
// Checked casts for values taken from dictionaries, messages and archives: a
// value of the wrong kind reads as absent instead of being used. Classes and
// protocols are both C++ classes here (a protocol is an abstract interface);
// nothing is ever converted.
#include "KCValue.h"

#include <memory>

template <typename Class>
std::shared_ptr<Class> KCDynamicCast(const std::shared_ptr<KCObject>& value)
{
    return std::dynamic_pointer_cast<Class>(value);
}

template <typename Class>
std::shared_ptr<Class> KCDynamicCast(const KCValue& value)
{
    return value.objectAs<Class>();
}

template <typename Protocol>
std::shared_ptr<Protocol> KCProtocolCast(const std::shared_ptr<KCObject>& value)
{
    return std::dynamic_pointer_cast<Protocol>(value);
}

// The value when it is a Class and conforms to every protocol, tested in
// order; without protocols it is KCDynamicCast.
template <typename Class, typename... Protocols>
std::shared_ptr<Class> KCClassAndProtocolCast(const std::shared_ptr<KCObject>& value)
{
    auto cast = std::dynamic_pointer_cast<Class>(value);
    if (!cast || !(... && (dynamic_cast<const Protocols*>(value.get()) != nullptr)))
        return nullptr;
    return cast;
}

// The value when it is present and of the given kind.
inline const KCValue* KCTypeIDCast(KCValue::Kind kind, const KCValue* value)
{
    return value && !value->isNull() && value->kind() == kind ? value : nullptr;
}

// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

#include <CoreFoundation/CoreFoundation.h>

namespace standin {

/// What every object of the stand-ins is, behind its opaque reference.
class Object
{
public:
    enum class Lifetime { Counted, Constant };

    explicit Object(const char *objectKind, Lifetime objectLifetime = Lifetime::Counted);
    virtual ~Object();
    Object(const Object &) = delete;
    Object &operator=(const Object &) = delete;

    void retain();
    void release();
    const char *kind() const { return kindName; }

private:
    const char *kindName;
    Lifetime lifetime;
    int references = 1;
};

/// The object behind the reference; ends the test when it is null or of another type.
template <typename Type> Type &checked(const void *reference)
{
    auto *object = static_cast<Object *>(const_cast<void *>(reference));
    auto *typed = dynamic_cast<Type *>(object);
    if (typed == nullptr) {
        qFatal("A reference is null or of the wrong type: %s", object ? object->kind() : "null");
    }
    return *typed;
}

/// A reference to the object, as the interface has it.
template <typename Reference> Reference referenceTo(Object *object)
{
    return reinterpret_cast<Reference>(object);
}

/// A reference to a string that is never freed.
CFStringRef constantString(const QString &text);
QString textIn(CFTypeRef string);
int numberIn(CFTypeRef number);

/// Stores the value as another program would.
void writePreference(const QString &application, const QString &key, CFPropertyListRef value);
/// What another program would read; null if nothing was written. Changes that were not synchronised
/// are not visible.
CFPropertyListRef writtenPreference(const QString &application, const QString &key);
/// As when the program ends: what was set and not synchronised is lost.
void loseUnsynchronised();
void forgetPreferences();

} // namespace standin

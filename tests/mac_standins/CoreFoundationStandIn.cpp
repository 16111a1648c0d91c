// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "CoreFoundationStandIn.h"

#include "StandIn.h"

#include <QList>
#include <QMap>

#include <cstring>

using namespace Qt::StringLiterals;

struct CFArrayCallBacks
{
    bool retains = true;
};
struct CFDictionaryKeyCallBacks
{
    bool retains = true;
};
struct CFDictionaryValueCallBacks
{
    bool retains = true;
};

namespace standin {
namespace {

int liveObjectCount = 0;

class String final : public Object
{
public:
    explicit String(const QString &string, Lifetime objectLifetime = Lifetime::Counted)
        : Object("string", objectLifetime)
        , text(string)
        , bytes(inSystemEncoding(string))
    {
    }

    const QString text;
    const QByteArray bytes;

private:
    /// Not Latin 1: the letters beyond ASCII have other places there.
    static QByteArray inSystemEncoding(const QString &string)
    {
        QByteArray encoded;
        for (const QChar sign : string) {
            encoded.append(sign.unicode() < 0x80 ? sign.toLatin1() : '\x9a');
        }
        return encoded;
    }
};

class Number final : public Object
{
public:
    explicit Number(int number) : Object("number"), value(number) {}
    const int value;
};

class Truth final : public Object
{
public:
    Truth() : Object("boolean", Lifetime::Constant) {}
};

class Url final : public Object
{
public:
    Url() : Object("url") {}
};

class Bundle final : public Object
{
public:
    Bundle() : Object("bundle", Lifetime::Constant) {}
};

Object *asObject(const void *reference)
{
    return &checked<Object>(reference);
}

class Array final : public Object
{
public:
    explicit Array(bool retainsValues) : Object("array"), retains(retainsValues) {}
    ~Array() override
    {
        while (!values.isEmpty()) {
            removeAt(0);
        }
    }

    void append(const void *value)
    {
        values.append(asObject(value));
        if (retains) {
            values.last()->retain();
        }
    }
    void removeAt(CFIndex index)
    {
        Object *removed = at(index);
        values.removeAt(index);
        if (retains) {
            removed->release();
        }
    }
    Object *at(CFIndex index) const
    {
        if (index < 0 || index >= values.size()) {
            qFatal("Index %ld is outside of the array", index);
        }
        return values.at(index);
    }
    Array *copy() const
    {
        auto *twin = new Array(true);
        for (Object *value : values) {
            twin->append(value);
        }
        return twin;
    }

    QList<Object *> values;

private:
    bool retains;
};

class Dictionary final : public Object
{
public:
    explicit Dictionary(bool retainsValues) : Object("dictionary"), retains(retainsValues) {}
    ~Dictionary() override
    {
        for (Object *value : qAsConst(values)) {
            if (retains) {
                value->release();
            }
        }
    }

    void set(const void *key, const void *value)
    {
        Object *&place = values[checked<String>(key).text];
        if (retains) {
            asObject(value)->retain();
            if (place != nullptr) {
                place->release();
            }
        }
        place = asObject(value);
    }

    QMap<QString, Object *> values;

private:
    bool retains;
};

/// Owns a reference to each value.
class Preferences
{
public:
    Object *value(const QString &place) const { return values.value(place); }
    void set(const QString &place, Object *value)
    {
        if (Object *earlier = values.take(place)) {
            earlier->release();
        }
        if (value != nullptr) {
            values.insert(place, value);
        }
    }
    void clear()
    {
        for (Object *value : qAsConst(values)) {
            value->release();
        }
        values.clear();
    }
    QMap<QString, Object *> values;
};

Preferences &written()
{
    static Preferences preferences;
    return preferences;
}

/// Set by this program, not synchronised yet.
Preferences &pending()
{
    static Preferences preferences;
    return preferences;
}

QString placeOf(const QString &application, const QString &key)
{
    return application + u'/' + key;
}

/// Preferences keep what a list held when it was set.
Object *snapshot(CFPropertyListRef value)
{
    if (const auto *array = dynamic_cast<const Array *>(asObject(value))) {
        return array->copy();
    }
    asObject(value)->retain();
    return asObject(value);
}

void record(const char *call, const QString &details)
{
    calls().append(QLatin1String(call) + u' ' + details);
}

} // namespace

Object::Object(const char *objectKind, Lifetime objectLifetime)
    : kindName(objectKind)
    , lifetime(objectLifetime)
{
    liveObjectCount += lifetime == Lifetime::Counted ? 1 : 0;
}

Object::~Object()
{
    liveObjectCount -= lifetime == Lifetime::Counted ? 1 : 0;
}

void Object::retain()
{
    ++references;
}

void Object::release()
{
    if (--references == 0 && lifetime == Lifetime::Counted) {
        delete this;
    }
}

int liveObjects()
{
    return liveObjectCount;
}

CFStringRef constantString(const QString &text)
{
    // Never freed, or the strings would count as lost when the test ends.
    static auto *strings = new QMap<QString, String *>;
    String *&string = (*strings)[text];
    if (string == nullptr) {
        string = new String(text, Object::Lifetime::Constant);
    }
    return referenceTo<CFStringRef>(string);
}

QString textIn(CFTypeRef string)
{
    return checked<String>(string).text;
}

int numberIn(CFTypeRef number)
{
    return checked<Number>(number).value;
}

void writePreference(const QString &application, const QString &key, CFPropertyListRef value)
{
    written().set(placeOf(application, key), snapshot(value));
}

CFPropertyListRef writtenPreference(const QString &application, const QString &key)
{
    return written().value(placeOf(application, key));
}

void loseUnsynchronised()
{
    pending().clear();
}

void forgetPreferences()
{
    pending().clear();
    written().clear();
}

} // namespace standin

using namespace standin;

const CFArrayCallBacks kCFTypeArrayCallBacks;
const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks;
const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks;
const CFAllocatorRef kCFAllocatorDefault = nullptr;
const CFBooleanRef kCFBooleanTrue = referenceTo<CFBooleanRef>(new Truth);

CFTypeRef CFRetain(CFTypeRef object)
{
    checked<Object>(object).retain();
    return object;
}

void CFRelease(CFTypeRef object)
{
    Object &released = checked<Object>(object);
    record("CFRelease", QLatin1String(released.kind()));
    released.release();
}

CFTypeID CFGetTypeID(CFTypeRef object)
{
    const auto &checkedObject = checked<Object>(object);
    if (dynamic_cast<const String *>(&checkedObject) != nullptr) {
        return CFStringGetTypeID();
    }
    if (dynamic_cast<const Array *>(&checkedObject) != nullptr) {
        return CFArrayGetTypeID();
    }
    return dynamic_cast<const Dictionary *>(&checkedObject) != nullptr ? CFDictionaryGetTypeID()
                                                                       : 99;
}

CFStringRef standInConstantString(const char *text)
{
    return constantString(QString::fromUtf8(text));
}

CFTypeID CFStringGetTypeID()
{
    return 7;
}

CFStringRef CFStringCreateWithCharacters(CFAllocatorRef, const UniChar *characters, CFIndex length)
{
    return referenceTo<CFStringRef>(
        new String(QString(reinterpret_cast<const QChar *>(characters), length)));
}

CFIndex CFStringGetLength(CFStringRef string)
{
    return checked<String>(string).text.size();
}

void CFStringGetCharacters(CFStringRef string, CFRange range, UniChar *buffer)
{
    const QString part = checked<String>(string).text.mid(range.location, range.length);
    if (part.size() != range.length) {
        qFatal("The range is outside of the string");
    }
    std::memcpy(buffer, part.utf16(), static_cast<size_t>(part.size()) * sizeof(UniChar));
}

CFStringEncoding CFStringGetSystemEncoding()
{
    return 30;
}

const char *CFStringGetCStringPtr(CFStringRef string, CFStringEncoding encoding)
{
    const String &checkedString = checked<String>(string);
    const bool isReadable = world().hasCStrings && encoding == CFStringGetSystemEncoding();
    return isReadable ? checkedString.bytes.constData() : nullptr;
}

CFRange CFStringFind(CFStringRef string, CFStringRef stringToFind, CFStringCompareFlags options)
{
    const QString needle = checked<String>(stringToFind).text;
    const auto sensitivity =
        options == kCFCompareCaseInsensitive ? Qt::CaseInsensitive : Qt::CaseSensitive;
    record("CFStringFind", needle);
    const qsizetype place =
        needle.isEmpty() ? -1 : checked<String>(string).text.indexOf(needle, 0, sensitivity);
    return place < 0 ? CFRange{kCFNotFound, 0} : CFRange{place, needle.size()};
}

CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType type, const void *value)
{
    if (type != kCFNumberIntType) {
        qFatal("Numbers are made of an int here");
    }
    return referenceTo<CFNumberRef>(new Number(*static_cast<const int *>(value)));
}

CFTypeID CFArrayGetTypeID()
{
    return 19;
}

CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef, CFIndex, const CFArrayCallBacks *callBacks)
{
    return referenceTo<CFMutableArrayRef>(new Array(callBacks != nullptr));
}

CFMutableArrayRef CFArrayCreateMutableCopy(CFAllocatorRef, CFIndex, CFArrayRef array)
{
    return referenceTo<CFMutableArrayRef>(checked<Array>(array).copy());
}

CFIndex CFArrayGetCount(CFArrayRef array)
{
    return checked<Array>(array).values.size();
}

const void *CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index)
{
    return checked<Array>(array).at(index);
}

void CFArrayAppendValue(CFMutableArrayRef array, const void *value)
{
    checked<Array>(array).append(value);
}

void CFArrayRemoveValueAtIndex(CFMutableArrayRef array, CFIndex index)
{
    checked<Array>(array).removeAt(index);
}

CFTypeID CFDictionaryGetTypeID()
{
    return 18;
}

CFDictionaryRef CFDictionaryCreate(CFAllocatorRef, const void **keys, const void **values,
                                   CFIndex count, const CFDictionaryKeyCallBacks *keyCallBacks,
                                   const CFDictionaryValueCallBacks *valueCallBacks)
{
    const auto dictionary =
        CFDictionaryCreateMutable(kCFAllocatorDefault, count, keyCallBacks, valueCallBacks);
    for (CFIndex index = 0; index < count; ++index) {
        CFDictionarySetValue(dictionary, keys[index], values[index]);
    }
    return dictionary;
}

CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef, CFIndex,
                                                 const CFDictionaryKeyCallBacks *keyCallBacks,
                                                 const CFDictionaryValueCallBacks *valueCallBacks)
{
    return referenceTo<CFMutableDictionaryRef>(
        new Dictionary(keyCallBacks != nullptr && valueCallBacks != nullptr));
}

const void *CFDictionaryGetValue(CFDictionaryRef dictionary, const void *key)
{
    return checked<Dictionary>(dictionary).values.value(checked<String>(key).text);
}

void CFDictionarySetValue(CFMutableDictionaryRef dictionary, const void *key, const void *value)
{
    checked<Dictionary>(dictionary).set(key, value);
}

CFBundleRef CFBundleGetMainBundle()
{
    static auto *bundle = new Bundle;
    return referenceTo<CFBundleRef>(bundle);
}

CFURLRef CFBundleCopyBundleURL(CFBundleRef bundle)
{
    checked<Bundle>(bundle);
    record("CFBundleCopyBundleURL", u"main bundle"_s);
    return referenceTo<CFURLRef>(world().bundlePath ? new Url : nullptr);
}

CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle style)
{
    checked<Url>(url);
    if (style != kCFURLPOSIXPathStyle) {
        qFatal("Paths are written with slashes");
    }
    return referenceTo<CFStringRef>(new String(world().bundlePath.value()));
}

CFPropertyListRef CFPreferencesCopyAppValue(CFStringRef key, CFStringRef applicationID)
{
    const QString place = placeOf(textIn(applicationID), textIn(key));
    record("CFPreferencesCopyAppValue", place);
    Object *value = pending().value(place) ? pending().value(place) : written().value(place);
    if (value != nullptr) {
        value->retain();
    }
    return value;
}

void CFPreferencesSetAppValue(CFStringRef key, CFPropertyListRef value, CFStringRef applicationID)
{
    const QString place = placeOf(textIn(applicationID), textIn(key));
    record("CFPreferencesSetAppValue", place);
    pending().set(place, snapshot(value));
}

Boolean CFPreferencesAppSynchronize(CFStringRef applicationID)
{
    const QString application = textIn(applicationID);
    record("CFPreferencesAppSynchronize", application);
    const QStringList places = pending().values.keys();
    for (const QString &place : places) {
        if (place.startsWith(application + u'/')) {
            written().set(place, pending().values.take(place));
        }
    }
    return true;
}

// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/mac/AutoLaunchList.h"

#include "platform/mac/CFText.h"

namespace platform {
namespace {

CFStringRef loginWindow()
{
    return CFSTR("loginwindow");
}

CFStringRef listKey()
{
    return CFSTR("AutoLaunchedApplicationDictionary");
}

CFStringRef pathKey()
{
    return CFSTR("Path");
}

CFStringRef hideKey()
{
    return CFSTR("Hide");
}

CFOwner<CFStringRef> mainBundlePath()
{
    const CFOwner<CFURLRef> url(CFBundleCopyBundleURL(CFBundleGetMainBundle()));
    return CFOwner<CFStringRef>(url ? CFURLCopyFileSystemPath(url.get(), kCFURLPOSIXPathStyle)
                                    : nullptr);
}

/// The type is checked before every cast: other programs write this file too.
bool isOfType(CFTypeRef object, CFTypeID type)
{
    return object != nullptr && CFGetTypeID(object) == type;
}

CFOwner<CFMutableArrayRef> mutableCopy(CFPropertyListRef list)
{
    return CFOwner<CFMutableArrayRef>(
        isOfType(list, CFArrayGetTypeID())
            ? CFArrayCreateMutableCopy(kCFAllocatorDefault, 0, static_cast<CFArrayRef>(list))
            : CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks));
}

CFOwner<CFMutableDictionaryRef> newEntry(const QString &path, bool hide)
{
    const CFOwner<CFStringRef> pathString = stringOf(path);
    const int hideValue = hide ? 1 : 0;
    const CFOwner<CFNumberRef> hideNumber(
        CFNumberCreate(kCFAllocatorDefault, kCFNumberIntType, &hideValue));
    CFOwner<CFMutableDictionaryRef> entry(CFDictionaryCreateMutable(
        kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    CFDictionarySetValue(entry.get(), pathKey(), pathString.get());
    CFDictionarySetValue(entry.get(), hideKey(), hideNumber.get());
    return entry;
}

} // namespace

AutoLaunchList::AutoLaunchList()
    : bundlePath(mainBundlePath())
    , stored(CFPreferencesCopyAppValue(listKey(), loginWindow()))
    , entries(mutableCopy(stored.get()))
{
}

QString AutoLaunchList::applicationPath() const
{
    return textOf(bundlePath.get());
}

int AutoLaunchList::count() const
{
    return static_cast<int>(CFArrayGetCount(entries.get()));
}

CFStringRef AutoLaunchList::pathStringAt(int index) const
{
    if (index < 0 || index >= count()) {
        return nullptr;
    }
    const CFTypeRef entry = CFArrayGetValueAtIndex(entries.get(), index);
    if (!isOfType(entry, CFDictionaryGetTypeID())) {
        return nullptr;
    }
    const CFTypeRef path = CFDictionaryGetValue(static_cast<CFDictionaryRef>(entry), pathKey());
    return isOfType(path, CFStringGetTypeID()) ? static_cast<CFStringRef>(path) : nullptr;
}

QString AutoLaunchList::pathAt(int index) const
{
    return textOf(pathStringAt(index));
}

bool AutoLaunchList::pathContains(int index, const QString &name) const
{
    const CFStringRef path = pathStringAt(index);
    return path != nullptr &&
           CFStringFind(path, stringOf(name).get(), kCFCompareCaseInsensitive).location !=
               kCFNotFound;
}

void AutoLaunchList::append(const QString &path, bool hide)
{
    CFArrayAppendValue(entries.get(), newEntry(path, hide).get());
}

void AutoLaunchList::removeAt(int index)
{
    if (index >= 0 && index < count()) {
        CFArrayRemoveValueAtIndex(entries.get(), index);
    }
}

void AutoLaunchList::save()
{
    if (stored && !isOfType(stored.get(), CFArrayGetTypeID())) {
        return;
    }
    CFPreferencesSetAppValue(listKey(), entries.get(), loginWindow());
    CFPreferencesAppSynchronize(loginWindow());
}

std::unique_ptr<LoginItems> makeLoginItems()
{
    return std::make_unique<AutoLaunchList>();
}

} // namespace platform

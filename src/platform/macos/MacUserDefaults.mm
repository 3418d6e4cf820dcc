#include "MacUserDefaults.h"

#import <Foundation/Foundation.h>

namespace tk {

namespace {

QVariant variantOf(id value)
{
    if ([value isKindOfClass:[NSData class]])
        return QByteArray::fromNSData(static_cast<NSData*>(value));
    if ([value isKindOfClass:[NSString class]])
        return QString::fromNSString(static_cast<NSString*>(value));
    // Booleans are the shared CFBoolean values; other numbers are not ours.
    if ([value isKindOfClass:[NSNumber class]] &&
        CFGetTypeID((__bridge CFTypeRef)value) == CFBooleanGetTypeID())
        return static_cast<bool>([static_cast<NSNumber*>(value) boolValue]);
    if ([value isKindOfClass:[NSArray class]]) {
        QStringList list;
        for (id entry in static_cast<NSArray*>(value)) {
            if (![entry isKindOfClass:[NSString class]])
                return {};
            list.append(QString::fromNSString(static_cast<NSString*>(entry)));
        }
        return list;
    }
    return {};
}

id objectOf(const QVariant& value)
{
    switch (value.metaType().id()) {
    case QMetaType::QByteArray:
        return value.toByteArray().toNSData();
    case QMetaType::Bool:
        return [NSNumber numberWithBool:value.toBool()];
    case QMetaType::QStringList: {
        NSMutableArray<NSString*>* array = [NSMutableArray array];
        for (const QString& entry : value.toStringList())
            [array addObject:entry.toNSString()];
        return array;
    }
    default:
        return value.toString().toNSString();
    }
}

} // namespace

QVariant MacUserDefaults::load(const QString& key) const
{
    @autoreleasepool {
        return variantOf([NSUserDefaults.standardUserDefaults objectForKey:key.toNSString()]);
    }
}

void MacUserDefaults::store(const QString& key, const QVariant& value)
{
    @autoreleasepool {
        [NSUserDefaults.standardUserDefaults setObject:objectOf(value) forKey:key.toNSString()];
    }
}

} // namespace tk

#include "RVUserDefaults.h"

#include "RVPropertyList.h"

bool RVUserDefaults::boolForKey(const QString& key) const
{
    return RVPropertyList::boolValue(valueForKey(key));
}

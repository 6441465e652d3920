#include <gtest/gtest.h>

#include "net/net_json.h"

// A cache of JSON values that a host creates itself.
TEST(JsonCache, ReturnedValueIsReused)
{
    QZJsonDecimalCache cache(-1, -1);
    EXPECT_EQ(cache.GetType(), QZObjectCache::Type);
    QZObject* value = cache.Out();
    EXPECT_EQ(value->GetType(), QZJsonDecimal::Type);
    EXPECT_EQ(cache.Created(), 1);
    QZObject* back = value;
    cache.In(&back);
    EXPECT_EQ(back, nullptr);
    EXPECT_EQ(cache.Count(), 1);
    EXPECT_EQ(cache.Out(), value);
    EXPECT_EQ(cache.Created(), 1);
    cache.In(&value);
}

#include <gtest/gtest.h>

#include "net/net_json.h"

// A host's own cache of JSON values, beside the factory's.
TEST(JsonCache, GivesTheValueThatCameBackOutAgain)
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

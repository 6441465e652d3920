// The part of the JSON factory in start, end and collection of the library.

#include <string>

#include "fw/fw_library.h"
#include "fw/fw_memory.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "net/internal/net_start.h"
#include "net/net_json.h"
#include "qzlib.h"
#include "support/qz_test.h"

namespace
{
QZInt64 IdleStringCollections()
{
    QZJsonObject* status = QZStringFactory::GetStatus();
    const std::string count = qztest::Utf8(status->GetAttrValue(1)->Val());
    QZStringFactory::Recycle(&status);
    return std::stoll(count);
}

/// Leaves idle objects in the JSON factory. Each holds a list of names from the string factory.
void LeaveIdleObjects()
{
    QZString text("[{},{},{}]");
    QZJsonValue* value = QZJsonFactory::DeserializeObject(&text);
    QZJsonFactory::Recycle(&value);
}

TEST(JsonFactoryProcess, LibraryCollectFreesJsonBeforeStrings)
{
    QZLibInit();
    LeaveIdleObjects();
    QZLibCollect(0);
    EXPECT_EQ(IdleStringCollections(), 0);
    QZLibDispose();
}

TEST(JsonFactoryProcess, MemoryManagerCollectFreesJsonAfterStrings)
{
    QZLibInit();
    LeaveIdleObjects();
    QZMemManager::Collect();
    // The three lists are released after the strings are collected; the status object uses one of them.
    EXPECT_EQ(IdleStringCollections(), 2);
    QZLibDispose();
}

TEST(JsonFactoryProcess, StartsAndEndsWithTheLibraryMoreThanOnce)
{
    for (int i = 0; i < 3; ++i)
    {
        QZLibInit();
        LeaveIdleObjects();
        QZLibDispose();
    }
    EXPECT_EQ(QZJsonFactory::GetMemorySize(), 0);
    QZJsonFactory::Collect(0);
    QZLibInit();
    QZJsonFactoryInit();
    QZJsonObject* status = QZJsonFactory::GetStatus();
    ASSERT_EQ(status->AttrCount(), 7);
    for (QZInt64 i = 0; i < 7; ++i) EXPECT_QZ_TEXT(status->GetAttrValue(i)->Val(), "0") << i;
    QZJsonFactory::Recycle(&status);
    QZLibDispose();
    QZJsonFactoryEnd();
}
}  // namespace

// Where the JSON factory stands among the others at start, end and collection.

#include <string>

#include "fw/fw_library.h"
#include "fw/fw_memory.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "net/internal/net_library.h"
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

/// Leaves objects idle in the JSON factory. Each one holds a list of names out of the string factory.
void LeaveIdleObjects()
{
    QZString text("[{},{},{}]");
    QZJsonValue* value = QZJsonFactory::DeserializeObject(&text);
    QZJsonFactory::Recycle(&value);
}

TEST(JsonFactoryProcess, QZLibCollectEmptiesJsonBeforeStrings)
{
    QZLibInit();
    LeaveIdleObjects();
    QZLibCollect(0);
    EXPECT_EQ(IdleStringCollections(), 0);
    QZLibDispose();
}

TEST(JsonFactoryProcess, TheMemoryManagerEmptiesJsonBehindStrings)
{
    QZLibInit();
    LeaveIdleObjects();
    QZMemManager::Collect();
    // The three lists came back after the strings had been collected; the status record uses one of them.
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

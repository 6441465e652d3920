// The part of the shared HTTP texts and the message factory in start and end of the library.

#include "fw/fw_data.h"
#include "fw/fw_library.h"
#include "fw/fw_string.h"
#include "net/internal/net_start.h"
#include "net/net_http_constant.h"
#include "net/net_http_factory.h"
#include "net/net_http_request.h"
#include "net/net_http_response.h"
#include "qzlib.h"
#include "support/qz_test.h"

namespace
{
int g_failed = 0;

void Use()
{
    QZHttpRequest* request = QZHttpFactory::CreateRequest();
    QZHttpResponse* response = QZHttpFactory::CreateResponse();
    QZData bytes("HTTP/1.1 200 OK\r\nA: b\r\nSet-Cookie: c=d\r\n\r\n", 42);
    response->Set(&bytes);
    QZHttpFactory::Recycle(&request);
    QZHttpFactory::Recycle(&response);
}

TEST(HttpFactoryProcess, StartsAndEndsWithTheLibraryMoreThanOnce)
{
    EXPECT_EQ(QZHttpConstant::NewLine, nullptr);
    for (int i = 0; i < 3; ++i)
    {
        QZLibInit();
        ASSERT_NE(QZHttpConstant::NewLine, nullptr);
        EXPECT_QZ_TEXT(QZHttpConstant::HeaderNameXFFString, "X-Forwarded-For");
        Use();
        QZLibDispose();
        EXPECT_EQ(QZHttpConstant::NewLine, nullptr);
        EXPECT_EQ(QZHttpConstant::EmptyLine, nullptr);
        EXPECT_EQ(QZHttpConstant::HeaderNameXFFString, nullptr);
    }
    QZHttpFactory::Collect(0);
    QZLibInit();
    QZData* newLine = QZHttpConstant::NewLine;
    QZHttpConstantInit();
    QZHttpFactoryInit();
    EXPECT_EQ(QZHttpConstant::NewLine, newLine);
    Use();
    QZLibDispose();
    QZHttpFactoryEnd();
    QZHttpConstantEnd();
}

TEST(HttpFactoryProcess, DeletingAConstantFailsAnAssertion)
{
    QZLibInit();
    QZLibSetFunctionAssert([](QZBool condition) { g_failed += condition ? 0 : 1; });
    QZLastError = 0;
    delete QZHttpConstant::HeaderNameCacheControl;
    EXPECT_EQ(QZLastError, 1280);
    EXPECT_EQ(g_failed, 1);
    // Replaces the deleted one.
    QZHttpConstant::HeaderNameCacheControl = new QZData("Cache-Control", 13);
    QZLibDispose();
    EXPECT_EQ(g_failed, 1);
}
}  // namespace

// The interface of the shared library as a host uses it. The program links the shared library and uses only
// the symbols that it exports.

#include <qzlib.h>

#include <cstring>

#include "support/qz_test.h"

namespace
{
/// A class of the host that derives from a class of the library.
class HostText : public QZString
{
public:
    explicit HostText(bool* destroyed) : QZString("host"), m_destroyed(destroyed) {}
    ~HostText() override { *m_destroyed = true; }
    QZInt64 GetType() override { return 0x7F000001; }

private:
    bool* m_destroyed;
};

int g_copies = 0;

void CountingCopy(void* destination, void* source, QZInt64 size)
{
    ++g_copies;
    std::memcpy(destination, source, static_cast<std::size_t>(size));
}

QZInt64 CodeOf(QZException* exception)
{
    const QZInt64 code = exception->GetCode();
    QZExceptionFactory::Recycle(&exception);
    return code;
}

TEST(HostBoundary, LibraryExceptionIsCaughtByItsBaseClass)
{
    QZInt64 code = 0;
    try
    {
        QZData data(-1);
    }
    catch (QZException* exception)
    {
        code = CodeOf(exception);
    }
    EXPECT_EQ(code, QZExceptionCode::OutOfMemory);
}

TEST(HostBoundary, DerivedExceptionIsCaughtByItsClassAndRethrown)
{
    qztest::TempDir folder;
    QZInt64 type = 0;
    QZInt64 outerType = 0;
    try
    {
        try
        {
            QZFile* file = QZFile::Open(folder.Name("missing").c_str());
            QZFile::Close(&file);
        }
        catch (QZIOException* exception)
        {
            type = exception->GetType();
            throw;
        }
    }
    catch (QZException* exception)
    {
        outerType = exception->GetType();
        QZExceptionFactory::Recycle(&exception);
    }
    EXPECT_EQ(type, 0x81B1000);
    EXPECT_EQ(outerType, 0x81B1000);
}

TEST(HostBoundary, HostCanThrowAFactoryException)
{
    EXPECT_QZ_THROW_MESSAGE(
        throw QZExceptionFactory::CreateSocketException(QZSocketExceptionCode::SocketClose), 256,
        " socket close");
}

TEST(HostBoundary, VirtualFunctionOfAHostClassIsCalled)
{
    bool destroyed = false;
    {
        QZContainer container;
        container.AddLast(new HostText(&destroyed));
        EXPECT_EQ(container.GetFirst()->GetType(), 0x7F000001);
        QZObject* object = container.DeQueue();
        delete object;
    }
    EXPECT_TRUE(destroyed);
}

TEST(HostBoundary, HostCanSetAnExportedOption)
{
    const QZBool before = QZException::IsStackTrace;
    QZException::IsStackTrace = 0;
    const qztest::Thrown without = QZ_TEST_CATCH(QZData data(-1));
    QZException::IsStackTrace = 1;
    const qztest::Thrown with = QZ_TEST_CATCH(QZData data(-1));
    QZException::IsStackTrace = before;
    EXPECT_EQ(without.stackTrace, ")");
    EXPECT_NE(with.stackTrace, ")");
}

TEST(HostBoundary, LibraryUsesTheCopyHookOfTheHost)
{
    QZLibSetFunctionMemCopy(CountingCopy);
    g_copies = 0;
    {
        QZData data("abcdef", 6);
        EXPECT_BYTES(data.GetPointer(), data.GetSize(), "61 62 63 64 65 66");
    }
    EXPECT_GT(g_copies, 0);
    QZLibSetFunctionMemCopy([](void* destination, void* source, QZInt64 size) {
        std::memcpy(destination, source, static_cast<std::size_t>(size));
    });
}

TEST(HostBoundary, FactoryRecyclesObjectsCreatedByTheHost)
{
    QZData* data = QZDataFactory::CreateData();
    data->Append("abc", 3);
    QZDataFactory::Recycle(&data);
    EXPECT_EQ(data, nullptr);

    auto* text = new QZString("created by the host");
    QZStringFactory::Recycle(&text);
    EXPECT_EQ(text, nullptr);
}

TEST(HostBoundary, TypeConstantsAreEqualInHostAndLibrary)
{
    const QZInt64* type = &QZString::Type;
    QZString text("x");
    EXPECT_EQ(*type, text.GetType());
}
}  // namespace

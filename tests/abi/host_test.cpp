// What a host sees through the shared library's boundary. The program links the shared library and nothing
// that it hides.

#include <qzlib.h>

#include <cstring>

#include "support/qz_test.h"

namespace
{
/// A host's own class on one of the library's.
class HostText : public QZString
{
public:
    explicit HostText(bool* gone) : QZString("host"), m_gone(gone) {}
    ~HostText() override { *m_gone = true; }
    QZInt64 GetType() override { return 0x7F000001; }

private:
    bool* m_gone;
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

TEST(HostBoundary, AnExceptionOfTheLibraryIsCaughtByItsBase)
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

TEST(HostBoundary, ADomainExceptionIsCaughtByItsClassAndThrownOnToItsBase)
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

TEST(HostBoundary, AHostThrowsAnExceptionOfTheFactoryThroughItsOwnFrames)
{
    EXPECT_QZ_THROW_MESSAGE(
        throw QZExceptionFactory::CreateSocketException(QZSocketExceptionCode::SocketClose), 256,
        " socket close");
}

TEST(HostBoundary, AVirtualOperationOfAHostsClassIsCalledByTheLibrary)
{
    bool gone = false;
    {
        QZContainer container;
        container.AddLast(new HostText(&gone));
        EXPECT_EQ(container.GetFirst()->GetType(), 0x7F000001);
        QZObject* object = container.DeQueue();
        delete object;
    }
    EXPECT_TRUE(gone);
}

TEST(HostBoundary, AHostSetsTheLibrarysExportedSwitches)
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

TEST(HostBoundary, AHostsHookIsUsedByCopiesInsideTheLibrary)
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

TEST(HostBoundary, WhatAHostMakesTheFactoryTakesBack)
{
    QZData* data = QZDataFactory::CreateData();
    data->Append("abc", 3);
    QZDataFactory::Recycle(&data);
    EXPECT_EQ(data, nullptr);

    auto* text = new QZString("made by the host");
    QZStringFactory::Recycle(&text);
    EXPECT_EQ(text, nullptr);
}

TEST(HostBoundary, TypesAreTheSameConstantsOnBothSides)
{
    const QZInt64* type = &QZString::Type;
    QZString text("x");
    EXPECT_EQ(*type, text.GetType());
}
}  // namespace

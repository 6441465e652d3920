#include "fw/internal/fw_raise.h"

#include <stdexcept>
#include <string>

#include "fw/fw_data.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_exception_factory.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_scoped.h"
#include "fw/internal/fw_trace.h"
#include "support/qz_test.h"

namespace
{
/// What a caught exception said; the exception is recycled.
struct Said
{
    QZInt64 type;
    QZInt64 code;
    std::string message;
    std::string stack;
    std::string arguments;

    bool operator==(const Said&) const = default;
};

Said Hear(QZException* exception)
{
    Said said{exception->GetType(), exception->GetCode(), qztest::Utf8(exception->GetMsg()),
              qztest::Utf8(exception->GetStackTrace()), qztest::Utf8(exception->GetArgumentTrace())};
    QZExceptionFactory::Recycle(&exception);
    return said;
}

/// Runs the function and returns what the exception said that it threw with exactly this static type.
template <typename E, typename Function>
Said Caught(Function function)
{
    try
    {
        function();
    }
    catch (E* exception)
    {
        return Hear(exception);
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}

constexpr const QZWChar* kClass = QZ_W("Class");
constexpr const QZWChar* kMethod = QZ_W("Method");
}  // namespace

TEST(Raise, SaysWhatFactoryAndTraceSay)
{
    const unsigned char bytes[] = {0x1F, 0xA0};
    const Said raised = Caught<QZException>([&] {
        QZRaise(QZExceptionCode::ArgumentOutOfRange, kClass, kMethod)
            .Argument(QZ_W("QZInt64"), QZInt64{-5})
            .Argument(QZ_W("QZChar*"), "narrow")
            .Argument(QZ_W("QZWChar*"), static_cast<const QZWChar*>(nullptr))
            .Argument(QZ_W("QZDouble"), 0.5)
            .Argument(QZ_W("QZPVoid"), bytes, 2)
            .Throw();
    });
    const Said traced = Caught<QZException>([&] {
        throw QZTrace(QZExceptionFactory::CreateException(QZExceptionCode::ArgumentOutOfRange), kClass,
                      kMethod)
            .Argument(QZ_W("QZInt64"), QZInt64{-5})
            .Argument(QZ_W("QZChar*"), "narrow")
            .Argument(QZ_W("QZWChar*"), static_cast<const QZWChar*>(nullptr))
            .Argument(QZ_W("QZDouble"), 0.5)
            .Argument(QZ_W("QZPVoid"), bytes, 2)
            .Exception();
    });
    EXPECT_TRUE(raised == traced);
    EXPECT_EQ(raised.code, 256);
    EXPECT_EQ(raised.stack, "Class::Method(QZInt64, QZChar*, QZWChar*, QZDouble, QZPVoid)");
    EXPECT_EQ(raised.arguments, "Class::Method(-5, narrow, <NULL>, 0.5, <HEX>1FA0)");
}

TEST(Raise, ThrowsThePointerToTheClassOfTheFamily)
{
    const auto raise = [](const QZFailure& failure) {
        return [failure] { QZRaise(failure, kClass, kMethod).Throw(); };
    };
    EXPECT_EQ(Caught<QZIOException>(raise(QZIOFailure(QZIOExceptionCode::ReadFailed, 2))),
              Caught<QZIOException>([] {
                  throw QZTrace(QZExceptionFactory::CreateIOException(QZIOExceptionCode::ReadFailed, 2),
                                kClass, kMethod)
                      .Exception();
              }));
    EXPECT_EQ(Caught<QZTaskException>(raise(QZTaskFailure(256))).type, QZTaskException::Type);
    EXPECT_EQ(Caught<QZDatabaseException>(raise(QZDatabaseFailure(0x500))).code, 0x500);
    EXPECT_EQ(
        Caught<QZSocketException>(raise(QZSocketFailure(0x600, 111))), Caught<QZSocketException>([] {
            throw QZTrace(QZExceptionFactory::CreateSocketException(0x600, 111), kClass, kMethod).Exception();
        }));
    EXPECT_EQ(Caught<QZHttpException>(raise(QZHttpFailure(0x220))).type, QZHttpException::Type);
    EXPECT_EQ(Caught<QZJsonException>(raise(QZJsonFailure(0x200))).type, QZJsonException::Type);
}

TEST(Raise, ATextBeginsTheMessage)
{
    QZString text(QZ_W("text"));
    const auto message = [](const QZFailure& failure) {
        return Caught<QZException>([&] { QZRaise(failure).Throw(); }).message;
    };
    const std::string wanted =
        Caught<QZException>([&] { throw QZExceptionFactory::CreateException(QZ_W("text"), 256); }).message;
    EXPECT_EQ(message(QZGeneralFailure(256).With(QZ_W("text"))), wanted);
    EXPECT_EQ(message(QZGeneralFailure(256).With("text")), wanted);
    EXPECT_EQ(message(QZGeneralFailure(256).With(&text)), wanted);
    EXPECT_EQ(message(QZGeneralFailure(0).With(static_cast<QZString*>(nullptr))), "");
}

TEST(Raise, AddsNoFrameWithTheTraceOff)
{
    QZException::IsStackTrace = 0;
    const Said said = Caught<QZException>([] {
        try
        {
            QZRaise(256, kClass, kMethod).Argument(QZ_W("QZInt64"), QZInt64{1}).Throw();
        }
        catch (...)
        {
            QZPassOn(kClass, kMethod).Argument(QZ_W("QZInt64"), QZInt64{2});
            throw;
        }
    });
    QZException::IsStackTrace = 1;
    EXPECT_EQ(said.code, 256);
    EXPECT_EQ(said.stack, ")");
    EXPECT_EQ(said.arguments, ")");
}

TEST(PassOn, AddsAFrameAndKeepsTheStaticType)
{
    const Said said = Caught<QZIOException>([] {
        try
        {
            QZRaise(QZIOFailure(QZIOExceptionCode::ReadFailed), kClass, kMethod).Throw();
        }
        catch (...)
        {
            QZPassOn(QZ_W("Outer"), QZ_W("Call")).Argument(QZ_W("QZInt64"), QZInt64{7});
            throw;
        }
    });
    EXPECT_EQ(said.stack, "Class::Method()\r\nOuter::Call(QZInt64)");
    EXPECT_EQ(said.arguments, "Class::Method()\r\nOuter::Call(7)");
}

TEST(PassOn, LeavesOtherExceptionsAlone)
{
    EXPECT_THROW(
        {
            try
            {
                throw std::out_of_range("other");
            }
            catch (...)
            {
                QZPassOn(kClass, kMethod).Argument(QZ_W("QZInt64"), QZInt64{7});
                throw;
            }
        },
        std::out_of_range);
}

TEST(Scoped, GivesBackWhatItHolds)
{
    QZString* text = QZStringFactory::CreateString();
    {
        QZScopedString scoped(text);
        scoped->Set(QZ_W("a"));
        EXPECT_EQ(scoped.Get(), text);
    }
    // The most recently returned object comes out first, and empty.
    QZScopedString again(QZStringFactory::CreateString());
    EXPECT_EQ(again.Get(), text);
    EXPECT_EQ(again->GetLength(), 0);
}

TEST(Scoped, ReleaseHandsTheObjectOver)
{
    QZScopedData scoped(QZDataFactory::CreateData());
    QZData* data = scoped.Get();
    EXPECT_EQ(scoped.Release(), data);
    EXPECT_EQ(scoped.Get(), nullptr);
    QZScopedData other;
    *other.Out() = data;
    EXPECT_EQ(other.Get(), data);
    other.Reset();
    EXPECT_EQ(other.Get(), nullptr);
}

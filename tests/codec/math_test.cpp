#include "codec/cod_math.h"

#include <cmath>
#include <limits>

#include "fw/fw_collection.h"
#include "graphics/gr_geometry.h"
#include "support/qz_test.h"

namespace
{

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNoNumber = std::numeric_limits<float>::quiet_NaN();

}  // namespace

TEST(Math, InvSqrtIsOneNewtonStepFromTheHalvedWord)
{
    // 4.0 is 0x40800000; 0x5F375A86 - 0x20400000 = 0x3EF75A86 = 0.4831429..., and one Newton step gives
    // y * (1.5 - 2 * y * y) = 0.4991541....
    EXPECT_NEAR(QZMath::InvSqrt(4.0f), 0.4991541, 1e-6);
    EXPECT_NE(QZMath::InvSqrt(4.0f), 0.5f);
    for (float x = 0.001f; x < 1e6f; x *= 1.37f)
        EXPECT_NEAR(QZMath::InvSqrt(x) * std::sqrt(x), 1.0, 0.0018) << x;
}

TEST(Math, SqrtIsOneDividedByInvSqrt)
{
    for (float x = 0.001f; x < 1e6f; x *= 1.37f) EXPECT_EQ(QZMath::Sqrt(x), 1.0f / QZMath::InvSqrt(x));
    EXPECT_NEAR(QZMath::Sqrt(4.0f), 2.0034, 1e-4);
}

TEST(Math, SqrtOfZeroIsTinyButNotZero)
{
    EXPECT_GT(QZMath::Sqrt(0.0f), 0.0f);
    EXPECT_LT(QZMath::Sqrt(0.0f), 1e-19f);
}

TEST(Math, SineAndCosineHaveStepsOfATenthOfADegree)
{
    const double tenth = 3.14159265358979323846 / 1800;
    for (int i = 0; i < 3600; ++i)
    {
        // An angle in the middle of a step gives the value at its start.
        const float angle = static_cast<float>((i + 0.5) * tenth);
        EXPECT_EQ(QZMath::Sin(angle), static_cast<float>(std::sin(i * tenth))) << i;
        EXPECT_EQ(QZMath::Cos(angle), static_cast<float>(std::cos(i * tenth))) << i;
        EXPECT_EQ(QZMath::Sin(-angle), -QZMath::Sin(angle)) << i;
        EXPECT_EQ(QZMath::Cos(-angle), QZMath::Cos(angle)) << i;
    }
}

TEST(Math, AnglesAreTruncatedAndTakenModuloAFullTurn)
{
    EXPECT_EQ(QZMath::Sin(0.0f), 0.0f);
    EXPECT_EQ(QZMath::Sin(0.0017f), 0.0f) << "less than a tenth of a degree";
    EXPECT_EQ(QZMath::Cos(0.0017f), 1.0f);
    EXPECT_EQ(QZMath::Sin(3.1415925f / 2), 1.0f);
    EXPECT_EQ(QZMath::Sin(3.1415925f * 2 + 0.5f), QZMath::Sin(0.5f));
}

TEST(Math, SineAndCosineAcceptAnyAngle)
{
    for (const float angle : {1e10f, 3e16f, 3e30f, std::numeric_limits<float>::max(), kInfinity, kNoNumber})
    {
        EXPECT_LE(std::fabs(QZMath::Sin(angle)), 1.0f) << angle;
        EXPECT_LE(std::fabs(QZMath::Cos(-angle)), 1.0f) << angle;
    }
    EXPECT_EQ(QZMath::Sin(kInfinity), 0.0f);
    EXPECT_EQ(QZMath::Cos(kNoNumber), 1.0f);
}

TEST(Math, TangentAndArcFunctionsAreExact)
{
    EXPECT_EQ(QZMath::Tan(0.3f), std::tan(0.3f));
    EXPECT_EQ(QZMath::ArcSin(0.3f), std::asin(0.3f));
    EXPECT_EQ(QZMath::ArcCos(0.3f), std::acos(0.3f));
    EXPECT_EQ(QZMath::ArcTan(0.3f), std::atan(0.3f));
}

TEST(Math, LogarithmIsAccurateNearOneAndFlattensFarAway)
{
    EXPECT_EQ(QZMath::Log(1.0f), 0.0f);
    EXPECT_NEAR(QZMath::Log(2.0f), 0.69314718, 1e-6);
    EXPECT_NEAR(QZMath::Log(0.5f), -0.69314718, 1e-6);
    EXPECT_NEAR(QZMath::Log(10.0f), 2.302, 0.002);
    // The sum always has sixteen terms, so 2 * t * (1 + 1/3 + ... + 1/31) = 4.73626... is its limit.
    EXPECT_NEAR(QZMath::Log(1e9f), 4.73626, 1e-4);
}

TEST(Math, LogarithmAddsTermsFromTheSmallestUp)
{
    for (float x = 0.2f; x < 100.0f; x *= 1.7f)
    {
        const float t = (x - 1.0f) / (x + 1.0f);
        float sum = 1.0f / 31;
        for (const float n :
             {29.f, 27.f, 25.f, 23.f, 21.f, 19.f, 17.f, 15.f, 13.f, 11.f, 9.f, 7.f, 5.f, 3.f, 1.f})
            sum = 1 / n + t * t * sum;
        EXPECT_EQ(QZMath::Log(x), 2 * t * sum) << x;
    }
}

TEST(Math, ExponentialIsAccurate)
{
    EXPECT_EQ(QZMath::Exp(0.0f), 1.0f);
    EXPECT_EQ(QZMath::Exp(1.0f), 2.7182817f);
    EXPECT_EQ(QZMath::Exp(2.0f), 2.7182817f * 2.7182817f);
    EXPECT_EQ(QZMath::Exp(-1.0f), 1.0f / 2.7182817f);
    for (float x = -20.0f; x < 20.0f; x += 0.37f) EXPECT_NEAR(QZMath::Exp(x) / std::exp(x), 1.0, 1e-5) << x;
}

TEST(Math, ExponentialReturnsForAnyNumber)
{
    EXPECT_EQ(QZMath::Exp(1e30f), kInfinity);
    EXPECT_EQ(QZMath::Exp(-1e30f), 0.0f);
    EXPECT_EQ(QZMath::Exp(kInfinity), kInfinity);
    EXPECT_EQ(QZMath::Exp(-kInfinity), 0.0f);
    EXPECT_TRUE(std::isnan(QZMath::Exp(kNoNumber)));
}

TEST(Math, PowerIsTheExponentialOfTheLogarithm)
{
    for (float x = 0.3f; x < 9.0f; x += 0.7f)
        for (float y = -3.0f; y < 3.0f; y += 0.4f)
            EXPECT_EQ(QZMath::Pow(x, y), QZMath::Exp(y * QZMath::Log(x)));
    EXPECT_NEAR(QZMath::Pow(2.0f, 3.0f), 8.0, 1e-4);
}

TEST(Math, RoundsToMultiples)
{
    EXPECT_EQ(QZMath::RoundUp(0x10001, 0x10000), 0x20000u);
    EXPECT_EQ(QZMath::RoundUp(0x10000, 0x10000), 0x10000u);
    EXPECT_EQ(QZMath::RoundUp(0, 7), 0u);
    EXPECT_EQ(QZMath::RoundUp(1, 7), 7u);
    EXPECT_EQ(QZMath::RoundDown(0x1FFFF, 0x10000), 0x10000u);
    EXPECT_EQ(QZMath::RoundDown(14, 7), 14u);
    EXPECT_EQ(QZMath::RoundDown(6, 7), 0u);
}

TEST(Math, ComputesDistanceBetweenPoints)
{
    EXPECT_EQ(QZMath::GetDistanceFromPointToPoint(1, 2, 4, 6), 5.0f);
    EXPECT_EQ(QZMath::GetDistanceFromPointToPoint(-3, -4, 0, 0), 5.0f);
    EXPECT_EQ(QZMath::GetDistanceFromPointToPoint(1, 1, 2, 2), std::sqrt(2.0f));
    const int low = std::numeric_limits<int>::min();
    EXPECT_EQ(QZMath::GetDistanceFromPointToPoint(low, 0, std::numeric_limits<int>::max(), 0), 4294967296.0f);
}

TEST(Math, DistanceToALineExtendsPastItsEnds)
{
    EXPECT_EQ(QZMath::GetDistanceFromPointToLine(0, 5, 10, 0, 20, 0), 5.0f);
    EXPECT_EQ(QZMath::GetDistanceFromPointToLine(100, 5, 10, 0, 20, 0), 5.0f);
    EXPECT_EQ(QZMath::GetDistanceFromPointToLine(0, 5, 0, 0, 4, 3), 4.0f);
    EXPECT_EQ(QZMath::GetDistanceFromPointToLine(8, 6, 0, 0, 4, 3), 0.0f);
}

TEST(Math, PointAndLineObjectsGiveTheSameDistances)
{
    const QZPoint point(-1, 5);
    const QZLine line(10, -2, 20, -2);
    EXPECT_EQ(QZMath::GetDistanceFromPointToLine(&point, &line), 7.0f);
    const QZLine dot(2, 1, 2, 1);
    EXPECT_EQ(QZMath::GetDistanceFromPointToLine(&point, &dot), 5.0f);
}

TEST(Math, LineWithoutLengthActsAsAPoint)
{
    EXPECT_EQ(QZMath::GetDistanceFromPointToLine(3, 4, 0, 0, 0, 0), 5.0f);
}

TEST(Math, AverageIsTheMeanOfUnsignedIntegers)
{
    QZCollection words;
    EXPECT_EQ(QZMath::Average(&words), 0.0f);
    words.Push(1);
    words.Push(2);
    EXPECT_EQ(QZMath::Average(&words), 1.5f);
    words.Push(~0ull);
    EXPECT_EQ(QZMath::Average(&words), 18446744073709551616.0f / 3);
}

#include "core/NumericHelpers.h"
#include "core/TransformMatrix.h"
#include "core/Vector2D.h"
#include "core/Vector3D.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

namespace {
constexpr float kPi = 3.14159265f;

void ExpectNear(const Vector3D& actual, const Vector3D& expected)
{
    EXPECT_NEAR(actual.x, expected.x, 1e-5f);
    EXPECT_NEAR(actual.y, expected.y, 1e-5f);
    EXPECT_NEAR(actual.z, expected.z, 1e-5f);
}
} // namespace

TEST(NumericHelpers, WrapClampAndBins)
{
    EXPECT_EQ(Wrap(-4, 4), 4); // a negative exact multiple lands on the modulus itself
    EXPECT_EQ(Wrap(-5, 4), 3);
    EXPECT_EQ(Wrap(5, 4), 1);
    EXPECT_FLOAT_EQ(Wrap(-1.5f, 4.0f), 2.5f);
    EXPECT_EQ(Clamp(7, 0, 5), 5);
    EXPECT_EQ(Clamp(-1, 0, 5), 0);
    EXPECT_EQ(GetBinNumber(0, 1, 1, 10), 9);
    EXPECT_EQ(GetBinNumber(0, 1, -0.5f, 10), 0);
    EXPECT_EQ(GetBinNumber(0, 1, 0.55f, 10), 5);
    EXPECT_EQ(GetBinNumber(0, 1, NAN, 10), 0);
    EXPECT_NEAR(DegToRad(180.0f), kPi, 1e-6f);
    for (int i = 0; i < 200; ++i)
    {
        const int r = GetRandomInt(3, 5);
        EXPECT_TRUE(r >= 3 && r <= 5);
        EXPECT_LT(GetRandomFloat(0.0f, 1.0f), 1.0f);
    }
}

TEST(Vector2D, BearingAndTurnsKeepTheirQuirks)
{
    EXPECT_NEAR(Vector2D(0, 1).GetBearing(), kPi / 4, 1e-6f);
    EXPECT_NEAR(Vector2D(0, -1).GetBearing(), -kPi / 4, 1e-6f);
    EXPECT_NEAR(Vector2D(1, 1).GetBearing(), kPi / 4, 1e-6f);
    EXPECT_NEAR(Vector2D(-1, 1).GetBearing(), kPi / 4, 1e-6f);
    EXPECT_NEAR(Vector2D(-1, 0).GetBearing(), kPi / 2, 1e-6f);

    EXPECT_NEAR(Vector2D::GetAnticlockwiseTurn({1, 0}, {0, 1}), kPi / 2, 1e-5f);
    EXPECT_NEAR(Vector2D::GetAnticlockwiseTurn({0, 1}, {1, 0}), 3 * kPi / 2, 1e-5f);
    EXPECT_NEAR(Vector2D::GetAnticlockwiseTurn({2, 0}, {1, 0}), 2 * kPi, 1e-5f);
    EXPECT_NEAR(Vector2D::GetAngleBetween({1, 0}, {0, 3}), kPi / 2, 1e-6f);

    Vector2D p(1, 0);
    p.RotatePoint(kPi / 2);
    EXPECT_NEAR(p.x, 0.0f, 1e-6f);
    EXPECT_NEAR(p.y, 1.0f, 1e-6f);
    p = {1, 2};
    p.RotatePointBy90();
    EXPECT_EQ(p, Vector2D(-2, 1));
    p.RotatePointBy270();
    EXPECT_EQ(p, Vector2D(1, 2));
    EXPECT_EQ(Vector2D(1, 1).GetReflectedAbout({1, 0}), Vector2D(1, -1));

    Vector2D zero;
    zero.Normalise();
    EXPECT_TRUE(std::isnan(zero.x));

    std::ostringstream out;
    out << Vector2D(1.5f, -2) << Vector3D(1, 2, 3);
    EXPECT_EQ(out.str(), "(1.5,-2)(1,2,3)");
}

TEST(TransformMatrix, RowVectorConventionsAndTheOppositeAxisRotation)
{
    TransformMatrix m;
    m.MakeRotationAboutZ(kPi / 2);
    ExpectNear(Vector3D(1, 0, 0) * m, {0, 1, 0});
    m.MakeRotationAboutAxis({0, 0, 1}, kPi / 2);
    ExpectNear(Vector3D(1, 0, 0) * m, {0, -1, 0});
    m.MakeRotationAboutX(kPi / 2);
    ExpectNear(Vector3D(0, 1, 0) * m, {0, 0, 1});
    m.MakeRotationAboutY(kPi / 2);
    ExpectNear(Vector3D(0, 0, 1) * m, {1, 0, 0});
    m.MakeTranslation(1, 1, 1);
    ExpectNear(Vector3D(1, 2, 3) * m, {2, 3, 4});

    // A x B applies A first: translate then scale.
    TransformMatrix translate;
    translate.MakeTranslation(1, 0, 0);
    TransformMatrix scale;
    scale.MakeUniformScale(2);
    ExpectNear(Vector3D(1, 0, 0) * (translate * scale), {4, 0, 0});
    TransformMatrix product = translate;
    product *= scale;
    ExpectNear(Vector3D(1, 0, 0) * product, {4, 0, 0});

    // Storage is column after column.
    EXPECT_FLOAT_EQ(translate.Data()[3], 1.0f);
    std::ostringstream out;
    out << translate;
    EXPECT_EQ(out.str(), "[1, 0, 0, 1]\n[0, 1, 0, 0]\n[0, 0, 1, 0]\n[0, 0, 0, 1]\n");
}

TEST(TransformMatrix, InverseDeterminantAndProjection)
{
    TransformMatrix a;
    a.MakeRotation(0.3f, -0.7f, 1.1f);
    TransformMatrix t;
    t.MakeTranslation(2, -3, 5);
    TransformMatrix s;
    s.MakeUniformScale(3);
    const TransformMatrix m = a * t * s;
    EXPECT_NEAR(m.GetDeterminant(), 27.0f, 1e-3f);
    const TransformMatrix identity = m * m.GetInverse();
    for (int row = 1; row <= 4; ++row)
        for (int col = 1; col <= 4; ++col)
            EXPECT_NEAR(identity.At(row, col), row == col ? 1.0f : 0.0f, 1e-5f) << row << col;
    TransformMatrix transposed = m;
    transposed.Transpose();
    EXPECT_FLOAT_EQ(transposed.Get12(), m.Get21());

    TransformMatrix p;
    p.MakePerspectiveProjection(2.0f, 1.0f, 3.0f, kPi / 2);
    EXPECT_NEAR(p.Get11(), 0.5f, 1e-6f);
    EXPECT_FLOAT_EQ(p.Get33(), 2.0f);
    EXPECT_FLOAT_EQ(p.Get43(), -3.0f);
    EXPECT_FLOAT_EQ(p.Get34(), 1.0f);
    EXPECT_FLOAT_EQ(p.Get44(), 0.0f);
    // Points divide by w = z.
    ExpectNear(Vector3D(2, 2, 2) * p, {0.5f, 1.0f, 0.5f});

    TransformMatrix view;
    view.MakeLookAtMatrix({0, 0, -5}, {0, 0, 0}, {0, 1, 0});
    ExpectNear(Vector3D(0, 0, 0) * view, {0, 0, 5});
    ExpectNear(Vector3D(1, 0, -5) * view, {1, 0, 0});
}

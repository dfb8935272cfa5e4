#include "core/Colour.h"

#include <QColor>
#include <gtest/gtest.h>

#include <stdexcept>

TEST(Colour, TextFormRoundTripsThroughWholeChannelValues)
{
    Colour c;
    c.GetFromString("(255,255,255)");
    EXPECT_FLOAT_EQ(c.r, 1.0f);
    EXPECT_FLOAT_EQ(c.a, 1.0f);

    c.GetFromString("( 10, 20, 30, 40 )");
    EXPECT_FLOAT_EQ(c.r, 10 / 255.0f);
    EXPECT_FLOAT_EQ(c.a, 40 / 255.0f);

    // Written channels are truncated, so 0.5 comes back as 127/255 and 0.999 as 254.
    const Colour half(0.5f, 0.999f, 0.0f, 1.0f);
    EXPECT_EQ(half.GetAsString(), "(127, 254, 0, 255)");
    Colour back;
    back.GetFromString(half.GetAsString());
    EXPECT_FLOAT_EQ(back.r, 127 / 255.0f);

    // Values are not range checked.
    c.GetFromString("(300,0,0)");
    EXPECT_NEAR(c.r, 1.176f, 0.001f);
}

TEST(Colour, UnreadableTextIsRefusedWithoutTouchingTheColour)
{
    Colour c(0.1f, 0.2f, 0.3f, 0.4f);
    for (const char* text : {"255, 0, 0", "", "(", "(1,2)", "(1,2,3", " (1,2,3)"})
        EXPECT_THROW(c.GetFromString(text), Exception_ColourRead) << text;
    EXPECT_FLOAT_EQ(c.r, 0.1f);
    EXPECT_STREQ(Exception_ColourRead().what(), "Reading colour from string exception.");

    // Five fields are tolerated and ignored.
    c.GetFromString("(1,2,3,4,5)");
    EXPECT_FLOAT_EQ(c.g, 0.2f);

    // A field with no digits fails in the integer conversion itself, after the earlier fields landed.
    EXPECT_THROW(c.GetFromString("(9,x,3)"), std::invalid_argument);
    EXPECT_FLOAT_EQ(c.r, 9 / 255.0f);
}

TEST(Colour, NormalEncodingAndMeasures)
{
    Colour c;
    c.SetFromNormal(Vector3D(0.0f, 0.0f, 0.0f));
    EXPECT_EQ(c.GetAsString(), "(127, 127, 255, 255)");
    EXPECT_FLOAT_EQ(c.g, 0.5f);

    c.SetFromNormal(Vector3D(2.0f, -1.0f, 0.0f)); // not normalised: channels leave 0..1
    EXPECT_FLOAT_EQ(c.r, 1.5f);
    EXPECT_FLOAT_EQ(c.g, 0.0f);
    const Vector3D n = c.GetAsNormal();
    EXPECT_FLOAT_EQ(n.x, 2.0f);
    EXPECT_FLOAT_EQ(n.z, 0.0f);

    EXPECT_FLOAT_EQ(Colour(0, 0, 0).GetSaturation(), 0.0f);
    EXPECT_FLOAT_EQ(Colour(1, 0.5f, 0).GetSaturation(), 1.0f);
    EXPECT_FLOAT_EQ(Colour(1, 0, 0).GetHue(), 0.0f);
    EXPECT_FLOAT_EQ(Colour(0, 1, 0).GetHue(), 2.0f);
    EXPECT_FLOAT_EQ(Colour(0, 0, 1).GetHue(), 4.0f);
    // The red branch divides by max/min: (0.5 - 0.25) / (1 / 0.25).
    EXPECT_FLOAT_EQ(Colour(1, 0.5f, 0.25f).GetHue(), 0.0625f);
}

TEST(Colour, EqualityToleranceOrderingAndHashes)
{
    const Colour a(0.5f, 0.5f, 0.5f, 1.0f);
    EXPECT_TRUE(a == Colour(0.504f, 0.5f, 0.5f, 1.0f));
    EXPECT_FALSE(a == Colour(0.5f, 0.5f, 0.5f, 0.98f));
    EXPECT_FALSE(Colour(0.0f, 0.0f, 0.0f, 0.0f) == Colour(0.0f, 0.0f, 0.0f, 0.01f));

    EXPECT_TRUE(Colour(0.2f, 0.1f, 0.1f) < Colour(0.1f, 0.3f, 0.0f));
    EXPECT_FALSE(Colour(0.3f, 0, 0) < Colour(0, 0, 0.3f));

    EXPECT_EQ(Hash(Colour(0.5f, 0.25f, 0.25f, 1.0f)), 400u);
    EXPECT_EQ(ColourHash()(Colour(0.5f, 0.25f, 0.25f, 0.0f)), 400u); // alpha ignored, 1.0 added
    EXPECT_EQ(Hash(Colour(-1, 0, 0, 0)), 0u);

    Colour m(0.5f, 1.0f, 0.2f, 0.5f);
    m.AlphaMult();
    EXPECT_FLOAT_EQ(m.g, 0.5f);
    EXPECT_FLOAT_EQ((m * 2.0f).a, 0.5f);
}

TEST(Colour, QtConversionsTruncateAndKeepAlpha)
{
    const QColor q = QtBD::BDToQt(Colour(0.999f, 0.5f, 2.0f, 0.25f));
    EXPECT_EQ(q.red(), 254);
    EXPECT_EQ(q.green(), 127);
    EXPECT_EQ(q.blue(), 255); // clamped: QColor cannot hold more
    EXPECT_EQ(q.alpha(), 63);
    const Colour back = QtBD::QtToBD(QColor(255, 0, 51, 102));
    EXPECT_FLOAT_EQ(back.b, 0.2f);
    EXPECT_FLOAT_EQ(back.a, 0.4f);
}

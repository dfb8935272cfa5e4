#include "core/TransformMatrix.h"

#include <cmath>

void TransformMatrix::MakeIdentity()
{
    m.fill(0.0f);
    for (int i = 1; i <= 4; ++i)
        At(i, i) = 1.0f;
}

void TransformMatrix::MakeRotationAboutX(float angle)
{
    MakeIdentity();
    At(2, 2) = std::cos(angle);
    At(2, 3) = std::sin(angle);
    At(3, 2) = -std::sin(angle);
    At(3, 3) = std::cos(angle);
}

void TransformMatrix::MakeRotationAboutY(float angle)
{
    MakeIdentity();
    At(1, 1) = std::cos(angle);
    At(1, 3) = -std::sin(angle);
    At(3, 1) = std::sin(angle);
    At(3, 3) = std::cos(angle);
}

void TransformMatrix::MakeRotationAboutZ(float angle)
{
    MakeIdentity();
    At(1, 1) = std::cos(angle);
    At(1, 2) = std::sin(angle);
    At(2, 1) = -std::sin(angle);
    At(2, 2) = std::cos(angle);
}

void TransformMatrix::MakeRotation(float x, float y, float z)
{
    TransformMatrix ry;
    TransformMatrix rz;
    MakeRotationAboutX(x);
    ry.MakeRotationAboutY(y);
    rz.MakeRotationAboutZ(z);
    *this = *this * ry * rz;
}

void TransformMatrix::MakeRotationAboutAxis(const Vector3D& axis, float angle)
{
    const float c = std::cos(angle);
    const float s = std::sin(angle);
    const float t = 1.0f - c;
    const float x = axis.x;
    const float y = axis.y;
    const float z = axis.z;
    MakeIdentity();
    At(1, 1) = x * x * t + c;
    At(2, 1) = x * y * t + z * s;
    At(3, 1) = x * z * t - y * s;
    At(1, 2) = x * y * t - z * s;
    At(2, 2) = y * y * t + c;
    At(3, 2) = y * z * t + x * s;
    At(1, 3) = x * z * t + y * s;
    At(2, 3) = y * z * t - x * s;
    At(3, 3) = z * z * t + c;
}

void TransformMatrix::MakeTranslation(float x, float y, float z)
{
    MakeIdentity();
    At(4, 1) = x;
    At(4, 2) = y;
    At(4, 3) = z;
}

void TransformMatrix::MakeUniformScale(float s)
{
    MakeIdentity();
    At(1, 1) = s;
    At(2, 2) = s;
    At(3, 3) = s;
}

void TransformMatrix::MakePerspectiveProjection(float aspect, float nearPlane, float farPlane,
                                                float fieldOfView)
{
    MakeIdentity();
    const float t = std::tan(fieldOfView * 0.5f);
    At(4, 4) = 0.0f;
    At(3, 4) = 1.0f;
    At(1, 1) = 1.0f / (aspect * t);
    At(2, 2) = 1.0f / t;
    At(3, 3) = (nearPlane + farPlane) / (farPlane - nearPlane);
    At(4, 3) = -2.0f * nearPlane * farPlane / (farPlane - nearPlane);
}

void TransformMatrix::MakeLookAtMatrix(const Vector3D& eye, const Vector3D& target, const Vector3D& up)
{
    // Camera basis as columns, so a row-vector point lands in view space: z looks at the target.
    const Vector3D zAxis = (target - eye).GetNormalised();
    const Vector3D xAxis = Vector3D::CrossProduct(up, zAxis).GetNormalised();
    const Vector3D yAxis = Vector3D::CrossProduct(zAxis, xAxis);
    MakeIdentity();
    At(1, 1) = xAxis.x;
    At(2, 1) = xAxis.y;
    At(3, 1) = xAxis.z;
    At(1, 2) = yAxis.x;
    At(2, 2) = yAxis.y;
    At(3, 2) = yAxis.z;
    At(1, 3) = zAxis.x;
    At(2, 3) = zAxis.y;
    At(3, 3) = zAxis.z;
    At(4, 1) = -Vector3D::DotProduct(xAxis, eye);
    At(4, 2) = -Vector3D::DotProduct(yAxis, eye);
    At(4, 3) = -Vector3D::DotProduct(zAxis, eye);
}

TransformMatrix TransformMatrix::operator*(const TransformMatrix& o) const
{
    TransformMatrix result;
    for (int row = 1; row <= 4; ++row)
        for (int col = 1; col <= 4; ++col)
        {
            float sum = 0.0f;
            for (int k = 1; k <= 4; ++k)
                sum += At(row, k) * o.At(k, col);
            result.At(row, col) = sum;
        }
    return result;
}

TransformMatrix& TransformMatrix::operator*=(const TransformMatrix& o)
{
    *this = *this * o;
    return *this;
}

void TransformMatrix::Transpose()
{
    TransformMatrix t;
    for (int row = 1; row <= 4; ++row)
        for (int col = 1; col <= 4; ++col)
            t.At(col, row) = At(row, col);
    *this = t;
}

namespace {
// Cofactor expansion of the 4x4 matrix into its adjugate; exact up to float rounding.
std::array<float, 16> Adjugate(const TransformMatrix& a, float& determinant)
{
    float s[6];
    float c[6];
    s[0] = a.At(1, 1) * a.At(2, 2) - a.At(2, 1) * a.At(1, 2);
    s[1] = a.At(1, 1) * a.At(2, 3) - a.At(2, 1) * a.At(1, 3);
    s[2] = a.At(1, 1) * a.At(2, 4) - a.At(2, 1) * a.At(1, 4);
    s[3] = a.At(1, 2) * a.At(2, 3) - a.At(2, 2) * a.At(1, 3);
    s[4] = a.At(1, 2) * a.At(2, 4) - a.At(2, 2) * a.At(1, 4);
    s[5] = a.At(1, 3) * a.At(2, 4) - a.At(2, 3) * a.At(1, 4);
    c[5] = a.At(3, 3) * a.At(4, 4) - a.At(4, 3) * a.At(3, 4);
    c[4] = a.At(3, 2) * a.At(4, 4) - a.At(4, 2) * a.At(3, 4);
    c[3] = a.At(3, 2) * a.At(4, 3) - a.At(4, 2) * a.At(3, 3);
    c[2] = a.At(3, 1) * a.At(4, 4) - a.At(4, 1) * a.At(3, 4);
    c[1] = a.At(3, 1) * a.At(4, 3) - a.At(4, 1) * a.At(3, 3);
    c[0] = a.At(3, 1) * a.At(4, 2) - a.At(4, 1) * a.At(3, 2);
    determinant = s[0] * c[5] - s[1] * c[4] + s[2] * c[3] + s[3] * c[2] - s[4] * c[1] + s[5] * c[0];

    // Row-major adjugate entries b[row][col].
    float b[4][4];
    b[0][0] = a.At(2, 2) * c[5] - a.At(2, 3) * c[4] + a.At(2, 4) * c[3];
    b[0][1] = -a.At(1, 2) * c[5] + a.At(1, 3) * c[4] - a.At(1, 4) * c[3];
    b[0][2] = a.At(4, 2) * s[5] - a.At(4, 3) * s[4] + a.At(4, 4) * s[3];
    b[0][3] = -a.At(3, 2) * s[5] + a.At(3, 3) * s[4] - a.At(3, 4) * s[3];
    b[1][0] = -a.At(2, 1) * c[5] + a.At(2, 3) * c[2] - a.At(2, 4) * c[1];
    b[1][1] = a.At(1, 1) * c[5] - a.At(1, 3) * c[2] + a.At(1, 4) * c[1];
    b[1][2] = -a.At(4, 1) * s[5] + a.At(4, 3) * s[2] - a.At(4, 4) * s[1];
    b[1][3] = a.At(3, 1) * s[5] - a.At(3, 3) * s[2] + a.At(3, 4) * s[1];
    b[2][0] = a.At(2, 1) * c[4] - a.At(2, 2) * c[2] + a.At(2, 4) * c[0];
    b[2][1] = -a.At(1, 1) * c[4] + a.At(1, 2) * c[2] - a.At(1, 4) * c[0];
    b[2][2] = a.At(4, 1) * s[4] - a.At(4, 2) * s[2] + a.At(4, 4) * s[0];
    b[2][3] = -a.At(3, 1) * s[4] + a.At(3, 2) * s[2] - a.At(3, 4) * s[0];
    b[3][0] = -a.At(2, 1) * c[3] + a.At(2, 2) * c[1] - a.At(2, 3) * c[0];
    b[3][1] = a.At(1, 1) * c[3] - a.At(1, 2) * c[1] + a.At(1, 3) * c[0];
    b[3][2] = -a.At(4, 1) * s[3] + a.At(4, 2) * s[1] - a.At(4, 3) * s[0];
    b[3][3] = a.At(3, 1) * s[3] - a.At(3, 2) * s[1] + a.At(3, 3) * s[0];

    std::array<float, 16> out{};
    for (int row = 0; row < 4; ++row)
        for (int col = 0; col < 4; ++col)
            out[col * 4 + row] = b[row][col];
    return out;
}
} // namespace

float TransformMatrix::GetDeterminant() const
{
    float determinant = 0.0f;
    Adjugate(*this, determinant);
    return determinant;
}

TransformMatrix TransformMatrix::GetInverse() const
{
    float determinant = 0.0f;
    const std::array<float, 16> adjugate = Adjugate(*this, determinant);
    TransformMatrix result;
    for (int i = 0; i < 16; ++i)
        result.m[i] = adjugate[i] / determinant;
    return result;
}

void TransformMatrix::Invert()
{
    *this = GetInverse();
}

Vector3D operator*(const Vector3D& p, const TransformMatrix& t)
{
    const float x = p.x * t.Get11() + p.y * t.Get21() + p.z * t.Get31() + t.Get41();
    const float y = p.x * t.Get12() + p.y * t.Get22() + p.z * t.Get32() + t.Get42();
    const float z = p.x * t.Get13() + p.y * t.Get23() + p.z * t.Get33() + t.Get43();
    const float w = p.x * t.Get14() + p.y * t.Get24() + p.z * t.Get34() + t.Get44();
    return {x / w, y / w, z / w};
}

Vector3D& operator*=(Vector3D& p, const TransformMatrix& matrix)
{
    p = p * matrix;
    return p;
}

std::ostream& operator<<(std::ostream& out, const TransformMatrix& t)
{
    for (int k = 1; k <= 4; ++k)
        out << "[" << t.At(1, k) << ", " << t.At(2, k) << ", " << t.At(3, k) << ", " << t.At(4, k) << "]\n";
    return out;
}

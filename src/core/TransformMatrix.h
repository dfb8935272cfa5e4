#pragma once
#include "core/Vector3D.h"

#include <array>
#include <ostream>

// A 4x4 float transform for row vectors (p' = p x M): translation sits in row 4, and A x B applies A
// first. Elements are named row then column (11..44) and stored column after column.
class TransformMatrix
{
public:
    TransformMatrix() { MakeIdentity(); }

    float Get11() const { return m[0]; }
    void Set11(const float& v) { m[0] = v; }
    float Get12() const { return m[4]; }
    void Set12(const float& v) { m[4] = v; }
    float Get13() const { return m[8]; }
    void Set13(const float& v) { m[8] = v; }
    float Get14() const { return m[12]; }
    void Set14(const float& v) { m[12] = v; }
    float Get21() const { return m[1]; }
    void Set21(const float& v) { m[1] = v; }
    float Get22() const { return m[5]; }
    void Set22(const float& v) { m[5] = v; }
    float Get23() const { return m[9]; }
    void Set23(const float& v) { m[9] = v; }
    float Get24() const { return m[13]; }
    void Set24(const float& v) { m[13] = v; }
    float Get31() const { return m[2]; }
    void Set31(const float& v) { m[2] = v; }
    float Get32() const { return m[6]; }
    void Set32(const float& v) { m[6] = v; }
    float Get33() const { return m[10]; }
    void Set33(const float& v) { m[10] = v; }
    float Get34() const { return m[14]; }
    void Set34(const float& v) { m[14] = v; }
    float Get41() const { return m[3]; }
    void Set41(const float& v) { m[3] = v; }
    float Get42() const { return m[7]; }
    void Set42(const float& v) { m[7] = v; }
    float Get43() const { return m[11]; }
    void Set43(const float& v) { m[11] = v; }
    float Get44() const { return m[15]; }
    void Set44(const float& v) { m[15] = v; }

    // Element at 1-based row and column.
    float At(int row, int col) const { return m[(col - 1) * 4 + (row - 1)]; }
    float& At(int row, int col) { return m[(col - 1) * 4 + (row - 1)]; }
    const float* Data() const { return m.data(); }

    void MakeIdentity();
    void MakeRotationAboutX(float angle);
    void MakeRotationAboutY(float angle);
    void MakeRotationAboutZ(float angle);
    void MakeRotation(float x, float y, float z);
    // Turns the opposite way to MakeRotationAboutZ about (0, 0, 1); normal generation relies on it.
    void MakeRotationAboutAxis(const Vector3D& axis, float angle);
    void MakeTranslation(float x, float y, float z);
    void MakeUniformScale(float s);
    void MakePerspectiveProjection(float aspect, float nearPlane, float farPlane, float fieldOfView);
    void MakeLookAtMatrix(const Vector3D& eye, const Vector3D& target, const Vector3D& up);

    TransformMatrix operator*(const TransformMatrix& o) const;
    TransformMatrix& operator*=(const TransformMatrix& o);
    void Transpose();
    float GetDeterminant() const;
    TransformMatrix GetInverse() const;
    void Invert();

private:
    std::array<float, 16> m{};
};

// Full perspective divide, even for affine matrices.
Vector3D operator*(const Vector3D& p, const TransformMatrix& matrix);
Vector3D& operator*=(Vector3D& p, const TransformMatrix& matrix);
std::ostream& operator<<(std::ostream& out, const TransformMatrix& matrix);

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

#define BRONDEL_MATRIX_ELEMENT(row, col)                                                                    \
    float Get##row##col() const { return m[(col - 1) * 4 + (row - 1)]; }                                    \
    void Set##row##col(const float& v) { m[(col - 1) * 4 + (row - 1)] = v; }
    BRONDEL_MATRIX_ELEMENT(1, 1)
    BRONDEL_MATRIX_ELEMENT(1, 2)
    BRONDEL_MATRIX_ELEMENT(1, 3)
    BRONDEL_MATRIX_ELEMENT(1, 4)
    BRONDEL_MATRIX_ELEMENT(2, 1)
    BRONDEL_MATRIX_ELEMENT(2, 2)
    BRONDEL_MATRIX_ELEMENT(2, 3)
    BRONDEL_MATRIX_ELEMENT(2, 4)
    BRONDEL_MATRIX_ELEMENT(3, 1)
    BRONDEL_MATRIX_ELEMENT(3, 2)
    BRONDEL_MATRIX_ELEMENT(3, 3)
    BRONDEL_MATRIX_ELEMENT(3, 4)
    BRONDEL_MATRIX_ELEMENT(4, 1)
    BRONDEL_MATRIX_ELEMENT(4, 2)
    BRONDEL_MATRIX_ELEMENT(4, 3)
    BRONDEL_MATRIX_ELEMENT(4, 4)
#undef BRONDEL_MATRIX_ELEMENT

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

#include "core/Vector3D.h"

#include <cmath>

Vector3D& Vector3D::operator=(const Vector2D& v)
{
    x = v.x;
    y = v.y;
    z = 0.0f;
    return *this;
}

Vector3D& Vector3D::operator+=(const Vector3D& o)
{
    x += o.x;
    y += o.y;
    z += o.z;
    return *this;
}

Vector3D& Vector3D::operator-=(const Vector3D& o)
{
    x -= o.x;
    y -= o.y;
    z -= o.z;
    return *this;
}

Vector3D& Vector3D::operator*=(float s)
{
    x *= s;
    y *= s;
    z *= s;
    return *this;
}

Vector3D& Vector3D::operator/=(float s)
{
    x /= s;
    y /= s;
    z /= s;
    return *this;
}

float Vector3D::GetMagnitude() const
{
    return std::sqrt(GetMagnitudeSquared());
}

Vector3D Vector3D::GetNormalised() const
{
    return *this / GetMagnitude();
}

void Vector3D::Normalise()
{
    *this /= GetMagnitude();
}

Vector3D Vector3D::CrossProduct(const Vector3D& a, const Vector3D& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

std::ostream& operator<<(std::ostream& out, const Vector3D& v)
{
    return out << "(" << v.x << "," << v.y << "," << v.z << ")";
}

#!/usr/bin/env python3
"""Draws the example image set "ExampleHead": a stylised character head in front view.

The head is a young character with a side-parted, swept mass of chestnut hair made of tapering
locks, brow ridges, almond eyes with glowing cyan irises, a nose, cheeks, lips, a chin, ears (a gold
hoop in one of them) and a neck stump. It is modelled as a height field in pixel units (smooth
unions of ellipsoids, bumps and dents for the face, tubes swept along curves for the hair locks),
and every map is derived from that one model so the maps agree with each other:

  _Left _Right _Top _Bottom _Front  white plaster lit evenly from one side (Lambert plus a little
                                    ambient), black outside the head
  _Diffuse     flat toon colours in a few shade bands (no gradients, no anti-aliasing), alpha 0
               outside the head
  _Specular    shiny eyes, lips, nose tip, earring and hair highlights, dull skin
  _Emissive    black except the glowing irises
  _Flow        stripes running along every hair lock, flat grey elsewhere
  _Silhouette  grey levels separating hair, face, ears, earring and neck; black outside

All files are 256 by 256, 8-bit RGB (RGBA for the diffuse map) and come out byte-identical on
every run. Standard library only:

    python3 tools/make_example_head.py [output folder, default resources/Examples]
"""
import math
import struct
import sys
import zlib
from pathlib import Path

SIZE = 256
PIXELS = SIZE * SIZE
NONE = -1.0e9  # "no surface here"

# Part labels, used for colours, the silhouette levels and which surface owns a pixel.
OUTSIDE, SKIN, EAR, NECK, HOOP, HAIR, UNDERHAIR, EYE = range(8)


# ----------------------------------------------------------------------------------------------
# PNG writing


def write_png(path, pixels, channels):
    """pixels: a flat list of channel tuples, row after row."""

    def chunk(kind, data):
        body = kind + data
        return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body) & 0xFFFFFFFF)

    colour_type = 6 if channels == 4 else 2
    header = struct.pack(">IIBBBBB", SIZE, SIZE, 8, colour_type, 0, 0, 0)
    raw = bytearray()
    for y in range(SIZE):
        raw.append(0)
        for x in range(SIZE):
            raw.extend(pixels[y * SIZE + x])
    path.write_bytes(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header)
                     + chunk(b"IDAT", zlib.compress(bytes(raw), 9)) + chunk(b"IEND", b""))


def grey(v):
    b = max(0, min(255, int(round(v * 255.0))))
    return (b, b, b)


# ----------------------------------------------------------------------------------------------
# Shape helpers. Each yields (index, x, y, value) over the pixels a shape covers, so a shape only
# costs its own bounding box.


def box(cx, cy, rx, ry):
    x0 = max(0, int(math.floor(cx - rx)))
    x1 = min(SIZE - 1, int(math.ceil(cx + rx)))
    y0 = max(0, int(math.floor(cy - ry)))
    y1 = min(SIZE - 1, int(math.ceil(cy + ry)))
    for y in range(y0, y1 + 1):
        for x in range(x0, x1 + 1):
            yield y * SIZE + x, x, y


def ellipsoid(cx, cy, rx, ry, rz, z0=0.0, chin_taper=0.0):
    """Height of an ellipsoid's front half; chin_taper narrows the lower half toward a point."""
    for i, x, y in box(cx, cy, rx, ry):
        v = (y - cy) / ry
        width = rx * (1.0 - chin_taper * v * v) if v > 0.0 else rx
        u = (x - cx) / width
        q = 1.0 - u * u - v * v
        if q > 0.0:
            yield i, x, y, z0 + rz * math.sqrt(q)


def bump(cx, cy, rx, ry, angle_degrees=0.0):
    """A smooth (1 - r^2)^2 bump of unit height, optionally turned."""
    c = math.cos(math.radians(angle_degrees))
    s = math.sin(math.radians(angle_degrees))
    reach = max(rx, ry)
    for i, x, y in box(cx, cy, reach, reach):
        dx, dy = x - cx, y - cy
        u = (dx * c + dy * s) / rx
        v = (-dx * s + dy * c) / ry
        q = 1.0 - u * u - v * v
        if q > 0.0:
            yield i, x, y, q * q


def smooth_max(a, b, k):
    """A max whose crease is rounded over a height difference of k, for skin merging into skin."""
    if a <= NONE:
        return b
    if b <= NONE:
        return a
    h = max(k - abs(a - b), 0.0) / k
    return max(a, b) + h * h * k * 0.25


# ----------------------------------------------------------------------------------------------
# The model


class Head:
    """The height field (pixels, toward the viewer) and what each pixel is made of."""

    def __init__(self):
        self.skin = [NONE] * PIXELS
        self.part = [OUTSIDE] * PIXELS
        self.hair = [NONE] * PIXELS
        self.hair_part = [OUTSIDE] * PIXELS
        self.lock_across = [0.0] * PIXELS  # signed distance from the lock's centre line, in widths
        self.lock_along = [0.0] * PIXELS  # 0 at the root, 1 at the tip
        self.lock_step = [0.0] * PIXELS  # signed distance in pixels, for the flow stripes
        self.features = {}  # name -> set of pixel indices, for painting
        self.eyes = []  # (cx, cy) of each eye
        self.height = None
        self.normals = None

    # -- skin -----------------------------------------------------------------------------------

    def add_base(self, shape, label, k):
        for i, _x, _y, h in shape:
            old = self.skin[i]
            if h > old:
                self.part[i] = label
            self.skin[i] = smooth_max(old, h, k)

    def add_relief(self, shape, amount, name=None, core=0.0):
        """Raises (or with a negative amount, dents) the skin; remembers where the shape's value
        exceeds core under the given name."""
        marked = self.features.setdefault(name, set()) if name else None
        for i, _x, _y, w in shape:
            if self.skin[i] > NONE:
                self.skin[i] += amount * w
                if marked is not None and w > core:
                    marked.add(i)

    def build_skin(self):
        # Neck first so the jaw covers its top with a crisp step (small k).
        for i, x, y in box(128, 210, 31, 40):
            u = (x - 128) / 31.0
            bottom = 230 + 8.0 * math.sqrt(max(0.0, 1.0 - u * u))  # the cut, seen slightly from above
            if abs(u) < 1.0 and 172 <= y <= bottom:
                h = -6.0 + 30.0 * math.sqrt(1.0 - u * u)
                self.skin[i] = h
                self.part[i] = NECK
        self.add_base(ellipsoid(128, 96, 68, 74, 62), SKIN, 3.0)  # cranium
        self.add_base(ellipsoid(128, 131, 55, 69, 40, z0=24.0, chin_taper=0.42), SKIN, 14.0)  # face
        # Ears stick out sideways, set back behind the cheeks.
        for side in (-1, 1):
            self.add_base(ellipsoid(128 + side * 63, 140, 11, 19, 9, z0=8.0, chin_taper=0.35), EAR, 5.0)

        face = []
        for side in (-1, 1):
            ex = 128 + side * 24
            face += [
                (bump(ex, 127, 18, 12), -9.0, None),  # eye socket
                (bump(ex + side * 2, 114, 22, 7, side * 8), 5.0, None),  # brow ridge
                (bump(128 + side * 31, 150, 19, 15), 5.0, "cheek"),  # cheekbone
                (bump(128 + side * 9, 159, 6, 5), 5.0, None),  # nostril wing
                (bump(128 + side * 6, 162, 2.6, 2.2), -3.0, "nostril"),
                (bump(128 + side * 16, 179, 3.5, 3), -1.2, None),  # mouth corner
                (bump(128 + side * 65, 143, 4.5, 11), -6.0, "inner_ear"),
            ]
        face += [
            (bump(128, 138, 6.5, 22), 8.0, None),  # nose bridge
            (bump(128, 155, 9, 8.5), 11.0, "nose_tip"),
            (bump(128, 174.5, 15, 4.2), 4.0, "upper_lip"),
            (bump(128, 182.5, 12.5, 5.2), 5.0, "lower_lip"),
            (bump(128, 178.5, 15.5, 1.4), -2.5, "mouth_line"),
            (bump(128, 195, 15, 9), 5.0, None),  # chin
            (bump(128, 96, 40, 20), 4.0, None),  # brow of the forehead, under the fringe
        ]
        for shape, amount, name in face:
            self.add_relief(shape, amount, name, 0.35)

        # Almond eyes: inside the lids the eyeball shows, slightly proud of the socket floor.
        eye_pixels = self.features.setdefault("eye", set())
        for side in (-1, 1):
            ex, ey = 128 + side * 24, 129.0
            self.eyes.append((ex, ey))
            centre = self.skin[int(ey) * SIZE + ex]
            radius = 15.0
            base = centre + 4.0 - radius
            for i, x, y in box(ex, ey, 14, 8):
                u = (x - ex) / 13.5
                if abs(u) >= 1.0:
                    continue
                tilt = -2.0 * u * side  # outer corners sit a little higher
                upper = ey + tilt - 7.0 * (1.0 - u * u) ** 0.7
                lower = ey + tilt + 4.5 * (1.0 - u * u) ** 0.9
                if upper < y < lower:
                    d2 = (x - ex) ** 2 + (y - ey) ** 2
                    self.skin[i] = base + math.sqrt(max(0.0, radius * radius - d2))
                    self.part[i] = EYE
                    eye_pixels.add(i)

        # A gold hoop through the viewer's right ear lobe.
        hoop = self.features.setdefault("hoop", set())
        hx, hy = 128 + 64, 159.0
        for i, x, y in box(hx, hy, 8, 8):
            r = math.hypot(x - hx, y - hy)
            tube = 1.0 - ((r - 5.0) / 2.2) ** 2
            if tube > 0.0 and y > hy - 2:  # the top of the ring is hidden in the lobe
                self.skin[i] = max(self.skin[i], 12.0) + 3.0 * math.sqrt(tube)
                self.part[i] = HOOP
                hoop.add(i)

        # Brows are painted, with only a faint raised texture.
        brows = self.features.setdefault("brow", set())
        for side in (-1, 1):
            for i, x, y in box(128 + side * 26, 112, 20, 8):
                u = (x - (128 + side * 26)) * side / 19.0  # -1 at the inner end, 1 at the outer end
                if abs(u) > 1.0:
                    continue
                centre = 111.0 - 4.0 * (1.0 - (u - 0.1) ** 2) + 2.0 * u
                half = 2.6 * (1.0 - 0.55 * (u + 1.0) / 2.0) + (0.8 if u < -0.6 else 0.0)
                if abs(y - centre) <= half and self.part[i] == SKIN:
                    brows.add(i)
                    # Rounded across the brow, so the raise has no step at its edge.
                    self.skin[i] += 1.2 * (1.0 - ((y - centre) / (half + 0.5)) ** 2)

    # -- hair -----------------------------------------------------------------------------------

    @staticmethod
    def shell(x, y):
        """The outer surface of the hair mass, a little bigger than the cranium."""
        u = (x - 128) / 80.0
        v = (y - 92) / 84.0
        q = 1.0 - u * u - v * v
        return 72.0 * math.sqrt(q) if q > 0.0 else 0.0

    def build_hair(self):
        # The dark mass under the locks, so gaps between locks never show the scalp.
        for i, x, y in box(128, 92, 78, 82):
            u = (x - 128) / 77.0
            v = (y - 92) / 80.0
            if u * u + v * v >= 1.0:
                continue
            fu = (x - 128) / 50.0
            fv = (y - 152) / 76.0
            in_face = fu * fu + fv * fv < 1.0
            if not in_face and y < 84 + 0.3 * abs(x - 128):
                self.hair[i] = self.shell(x, y) - 7.0
                self.hair_part[i] = UNDERHAIR

        for points, width in self.locks():
            self.sweep_lock(points, width)

        # Strands: two shallow grooves down every lock.
        for i in range(PIXELS):
            if self.hair_part[i] == HAIR:
                a = self.lock_across[i]
                self.hair[i] -= 1.3 * (0.5 + 0.5 * math.cos(math.pi * 3.0 * a)) * (1.0 - a * a)

    @staticmethod
    def locks():
        """Each lock is a cubic curve (root first) and a width; fans of locks are interpolated
        between two guide curves so the mass has no holes."""

        def fan(first, last, count, width_first, width_last, wobble):
            out = []
            state = 12345 + count * 7
            for n in range(count):
                t = n / (count - 1)
                points = []
                for a, b in zip(first, last):
                    state = (state * 1103515245 + 12345) & 0x7FFFFFFF  # small fixed LCG
                    jitter = ((state >> 8) % 1000) / 1000.0 - 0.5
                    points.append((a[0] + (b[0] - a[0]) * t + jitter * wobble,
                                   a[1] + (b[1] - a[1]) * t + jitter * wobble * 0.5))
                out.append((points, width_first + (width_last - width_first) * t))
            return out

        locks = []
        # Behind everything: the crown, sweeping back from the parting.
        locks += fan([(104, 26), (130, 12), (168, 15), (196, 38)],
                     [(100, 24), (80, 13), (56, 24), (42, 52)], 5, 12, 12, 4)
        # The viewer's left side, the short side of the parting.
        locks += fan([(98, 24), (64, 20), (44, 50), (46, 104)],
                     [(96, 50), (82, 60), (74, 84), (78, 112)], 5, 13, 10, 5)
        # The big sweep to the viewer's right, ending at the temple.
        locks += fan([(104, 22), (158, 14), (204, 44), (208, 104)],
                     [(102, 42), (150, 44), (186, 74), (190, 126)], 5, 14, 12, 5)
        # The fringe falling over the forehead.
        locks += fan([(100, 44), (140, 50), (168, 76), (168, 110)],
                     [(96, 54), (108, 66), (122, 84), (118, 104)], 4, 12, 10, 4)
        # Two loose flicks, on top of the rest.
        locks.append(([(98, 48), (88, 64), (84, 84), (92, 100)], 8))
        locks.append(([(112, 30), (140, 12), (170, 10), (188, 22)], 8))
        locks.append(([(150, 26), (172, 10), (192, 8), (206, 16)], 7))
        return locks

    def sweep_lock(self, points, width):
        (x0, y0), (x1, y1), (x2, y2), (x3, y3) = points
        length = 0.0
        px, py = x0, y0
        for n in range(1, 41):
            t = n / 40.0
            s = 1.0 - t
            qx = s * s * s * x0 + 3 * s * s * t * x1 + 3 * s * t * t * x2 + t * t * t * x3
            qy = s * s * s * y0 + 3 * s * s * t * y1 + 3 * s * t * t * y2 + t * t * t * y3
            length += math.hypot(qx - px, qy - py)
            px, py = qx, qy
        steps = max(8, int(length / 1.2))
        for n in range(steps + 1):
            t = n / steps
            s = 1.0 - t
            cx = s * s * s * x0 + 3 * s * s * t * x1 + 3 * s * t * t * x2 + t * t * t * x3
            cy = s * s * s * y0 + 3 * s * s * t * y1 + 3 * s * t * t * y2 + t * t * t * y3
            tx = 3 * s * s * (x1 - x0) + 6 * s * t * (x2 - x1) + 3 * t * t * (x3 - x2)
            ty = 3 * s * s * (y1 - y0) + 6 * s * t * (y2 - y1) + 3 * t * t * (y3 - y2)
            tl = math.hypot(tx, ty) or 1.0
            tx, ty = tx / tl, ty / tl
            # Full width for most of the lock, then a pointed, slightly curled tip.
            w = width * min(1.0, (1.0 - t) / 0.5) ** 0.85
            w = max(w, 0.7)
            top = self.shell(cx, cy) + 2.0
            for i, x, y in box(cx, cy, w, w):
                dx, dy = x - cx, y - cy
                d2 = dx * dx + dy * dy
                if d2 >= w * w:
                    continue
                h = top + 0.45 * w * math.sqrt(1.0 - d2 / (w * w))
                if h > self.hair[i]:
                    self.hair[i] = h
                    self.hair_part[i] = HAIR
                    across = dx * -ty + dy * tx
                    self.lock_across[i] = across / w
                    self.lock_step[i] = across
                    self.lock_along[i] = t

    # -- combine ----------------------------------------------------------------------------------

    def combine(self):
        self.height = [0.0] * PIXELS
        for i in range(PIXELS):
            if self.hair[i] > NONE and self.hair[i] >= self.skin[i]:
                self.height[i] = self.hair[i]
                self.part[i] = self.hair_part[i]
            elif self.skin[i] > NONE:
                self.height[i] = self.skin[i]
            else:
                self.part[i] = OUTSIDE
        # Surface normals (x right, y up, z toward the viewer) by central differences; the
        # background counts as height 0 so the outline turns away from the viewer.
        h = self.height
        self.normals = [(0.0, 0.0, 1.0)] * PIXELS
        for y in range(SIZE):
            for x in range(SIZE):
                i = y * SIZE + x
                if self.part[i] == OUTSIDE:
                    continue
                left = h[i - 1] if x > 0 else 0.0
                right = h[i + 1] if x < SIZE - 1 else 0.0
                up = h[i - SIZE] if y > 0 else 0.0
                down = h[i + SIZE] if y < SIZE - 1 else 0.0
                gx = (right - left) * 0.5
                gy = (down - up) * 0.5
                nx, ny, nz = -gx, gy, 1.0
                n = math.sqrt(nx * nx + ny * ny + nz * nz)
                self.normals[i] = (nx / n, ny / n, nz / n)


# ----------------------------------------------------------------------------------------------
# Maps


def lighting_profiles(head):
    ambient = 0.04
    profiles = {name: [] for name in ("Left", "Right", "Top", "Bottom", "Front")}
    for i in range(PIXELS):
        if head.part[i] == OUTSIDE:
            for name in profiles:
                profiles[name].append((0, 0, 0))
            continue
        nx, ny, nz = head.normals[i]
        for name, lit in (("Left", -nx), ("Right", nx), ("Top", ny), ("Bottom", -ny), ("Front", nz)):
            profiles[name].append(grey(ambient + (1.0 - ambient) * max(0.0, lit)))
    return profiles


PALETTE = {
    "skin_light": (250, 214, 180), "skin": (238, 190, 152), "skin_shade": (212, 152, 124),
    "skin_deep": (172, 112, 100), "blush": (236, 160, 146), "blush_shade": (214, 132, 124),
    "nostril": (140, 78, 74), "ear_inner": (196, 124, 110),
    "lip_light": (226, 128, 128), "lip": (196, 88, 98), "lip_shade": (150, 58, 76),
    "mouth": (110, 40, 56),
    "eye_white": (246, 244, 238), "eye_shade": (196, 200, 214), "lash": (44, 24, 30),
    "iris_rim": (16, 110, 150), "iris": (40, 196, 226), "iris_glow": (150, 244, 250),
    "pupil": (14, 30, 46), "catchlight": (255, 255, 255),
    "brow": (92, 40, 34), "brow_dark": (66, 28, 28),
    "hair_deep": (54, 22, 26), "hair_shade": (96, 38, 34), "hair": (138, 58, 40),
    "hair_light": (178, 86, 50), "hair_shine": (222, 140, 84), "hair_line": (40, 16, 22),
    "gold_shade": (170, 112, 30), "gold": (232, 186, 60), "gold_shine": (255, 240, 170),
    "outline": (56, 26, 32),
}
TRANSPARENT = (0, 0, 0, 0)


def toon(normal):
    """The artist's key light: up, left and in front."""
    lx, ly, lz = -0.45, 0.55, 0.70
    ln = math.sqrt(lx * lx + ly * ly + lz * lz)
    return (normal[0] * lx + normal[1] * ly + normal[2] * lz) / ln


def paint_diffuse(head):
    f = head.features
    out = []
    for i in range(PIXELS):
        part = head.part[i]
        x, y = i % SIZE, i // SIZE
        if part == OUTSIDE:
            out.append(TRANSPARENT)
            continue
        light = toon(head.normals[i])
        name = None
        if part in (HAIR, UNDERHAIR):
            if part == UNDERHAIR:
                name = "hair_deep"
            elif abs(head.lock_across[i]) > 0.82:
                name = "hair_line"
            elif light > 0.80 and abs(head.lock_across[i]) < 0.35 and head.lock_along[i] < 0.75:
                name = "hair_shine"
            elif light > 0.62:
                name = "hair_light"
            elif light > 0.35:
                name = "hair"
            elif light > 0.12:
                name = "hair_shade"
            else:
                name = "hair_deep"
        elif part == EYE:
            name = paint_eye(head, i, x, y)
        elif part == HOOP:
            name = "gold_shine" if light > 0.75 else "gold" if light > 0.3 else "gold_shade"
        elif i in f["brow"]:
            name = "brow_dark" if light < 0.45 else "brow"
        elif i in f["mouth_line"]:
            name = "mouth"
        elif i in f["upper_lip"] or i in f["lower_lip"]:
            name = "lip_light" if light > 0.85 else "lip" if light > 0.45 else "lip_shade"
        elif i in f["nostril"]:
            name = "nostril"
        elif part == EAR and i in f["inner_ear"]:
            name = "ear_inner"
        else:
            shade = light
            if part == NECK:
                # The jaw throws a shadow onto the top of the neck.
                above = head.part[(y - 14) * SIZE + x] if y >= 14 else OUTSIDE
                if above == SKIN:
                    shade = min(shade, 0.2)
            blush = i in f["cheek"] and part == SKIN
            if shade > 0.86:
                name = "skin_light"
            elif shade > 0.50:
                name = "blush" if blush else "skin"
            elif shade > 0.14:
                name = "blush_shade" if blush else "skin_shade"
            else:
                name = "skin_deep"
        out.append(PALETTE[name] + (255,))

    # A drawn outline around the head, and a dark line where the hair meets the skin.
    final = list(out)
    for i in range(PIXELS):
        if out[i][3] == 0:
            continue
        x, y = i % SIZE, i // SIZE
        hairy = head.part[i] in (HAIR, UNDERHAIR)
        for nx, ny in ((x - 1, y), (x + 1, y), (x, y - 1), (x, y + 1)):
            if not (0 <= nx < SIZE and 0 <= ny < SIZE) or out[ny * SIZE + nx][3] == 0:
                final[i] = PALETTE["outline"] + (255,)
                break
            other = head.part[ny * SIZE + nx]
            if hairy and other not in (HAIR, UNDERHAIR):
                final[i] = PALETTE["hair_line"] + (255,)
                break
    return final


def eye_layout(head, x, y):
    """Which of the eyes (x, y) lies in and its position relative to the iris centre."""
    ex, ey = min(head.eyes, key=lambda e: abs(e[0] - x))
    return x - ex, y - (ey - 0.5)


def paint_eye(head, i, x, y):
    dx, dy = eye_layout(head, x, y)
    r = math.hypot(dx, dy)
    above = head.part[i - SIZE] if y > 0 else OUTSIDE
    above2 = head.part[i - 2 * SIZE] if y > 1 else OUTSIDE
    if above != EYE or (above2 != EYE and abs(dx) > 4):
        return "lash"  # the upper lid's line, thicker toward the corners
    if -4 <= dx <= -2 and -4 <= dy <= -2:
        return "catchlight"
    if r < 2.6:
        return "pupil"
    if r < 4.4:
        return "iris_glow"
    if r < 6.0:
        return "iris"
    if r < 7.0:
        return "iris_rim"
    above3 = head.part[i - 3 * SIZE] if y > 2 else OUTSIDE
    return "eye_shade" if above3 != EYE else "eye_white"


def paint_specular(head, diffuse):
    f = head.features
    out = []
    for i in range(PIXELS):
        part = head.part[i]
        if part == OUTSIDE:
            out.append((0, 0, 0))
            continue
        colour = diffuse[i][:3]
        if part == EYE:
            v = 1.0 if colour in (PALETTE["catchlight"], PALETTE["pupil"], PALETTE["iris_glow"]) else 0.82
            if colour == PALETTE["lash"]:
                v = 0.15
        elif part == HOOP:
            v = 1.0
        elif part == HAIR:
            v = 0.75 if colour == PALETTE["hair_shine"] else 0.32 if colour == PALETTE["hair_light"] else 0.18
        elif part == UNDERHAIR:
            v = 0.06
        elif i in f["upper_lip"] or i in f["lower_lip"]:
            v = 0.7 if colour == PALETTE["lip_light"] else 0.5
        elif i in f["nose_tip"]:
            v = 0.42
        else:
            v = 0.1
        if colour == PALETTE["outline"]:
            v = 0.0
        out.append(grey(v))
    return out


def paint_emissive(diffuse):
    glow = {PALETTE["iris_glow"]: (170, 255, 255), PALETTE["iris"]: (40, 210, 240),
            PALETTE["iris_rim"]: (10, 90, 130)}
    return [glow.get(c[:3], (0, 0, 0)) for c in diffuse]


def paint_flow(head):
    out = []
    for i in range(PIXELS):
        if head.part[i] == HAIR:
            # Stripes parallel to the lock's centre line: the grain runs along the lock.
            out.append(grey(0.5 + 0.38 * math.sin(head.lock_step[i] * 2.0 * math.pi / 5.0)))
        else:
            out.append((128, 128, 128))
    return out


def paint_silhouette(head):
    levels = {OUTSIDE: 0, HAIR: 255, UNDERHAIR: 255, SKIN: 200, EYE: 200, EAR: 150, HOOP: 230, NECK: 110}
    return [(levels[p],) * 3 for p in head.part]


def main():
    folder = Path(sys.argv[1] if len(sys.argv) > 1 else "resources/Examples")
    folder.mkdir(parents=True, exist_ok=True)
    head = Head()
    head.build_skin()
    head.build_hair()
    head.combine()

    diffuse = paint_diffuse(head)
    colours = {c for c in diffuse}
    assert len(colours) < 256, "the diffuse map must stay palette-friendly"
    print("ExampleHead: %d distinct diffuse colours" % len(colours))

    maps = dict(lighting_profiles(head))
    maps["Specular"] = paint_specular(head, diffuse)
    maps["Emissive"] = paint_emissive(diffuse)
    maps["Flow"] = paint_flow(head)
    maps["Silhouette"] = paint_silhouette(head)
    for name, pixels in maps.items():
        write_png(folder / ("ExampleHead_%s.png" % name), pixels, 3)
    write_png(folder / "ExampleHead_Diffuse.png", diffuse, 4)


if __name__ == "__main__":
    main()

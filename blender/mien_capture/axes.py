"""From the axes of the face (x to its left, y up, z out of it, millimetres) to Blender's (z up, the face looks
along -y, metres), and rotations as arrays."""

import numpy

METRES = 0.001  # in a millimetre

# Columns: where the face's x, y and z point in Blender.
TO_BLENDER = numpy.array([[1.0, 0, 0], [0, 0, -1], [0, 1, 0]])


def points(positions, scene):
    """(... x 3) millimetres of the face's axes, in Blender's axes and the scene's unit, which is a metre by default."""
    return positions @ TO_BLENDER.T * (METRES / scene.unit_settings.scale_length)


def rotations(matrices):
    """(... x 3 x 3) rotations of the face's axes, in Blender's."""
    return TO_BLENDER @ matrices @ TO_BLENDER.T


def eye_rotations(angles):
    """(frames x 2) yaw to the face's left and pitch downward in radians, as (frames x 3 x 3) in the face's axes."""
    (cy, cp), (sy, sp) = numpy.cos(angles).T, numpy.sin(angles).T
    zero = numpy.zeros_like(cy)
    rows = [[cy, sy * sp, sy * cp], [zero, cp, -sp], [-sy, cy * sp, cy * cp]]
    return numpy.moveaxis(numpy.array(rows), 2, 0)


def quaternions(matrices):
    """(frames x 4) w, x, y, z of (frames x 3 x 3) rotations, each the nearer of its two signs to the one before."""
    m = numpy.asarray(matrices)
    x, y, z = m[:, 0, 0], m[:, 1, 1], m[:, 2, 2]
    wx, wy, wz = m[:, 2, 1] - m[:, 1, 2], m[:, 0, 2] - m[:, 2, 0], m[:, 1, 0] - m[:, 0, 1]
    xy, xz, yz = m[:, 0, 1] + m[:, 1, 0], m[:, 0, 2] + m[:, 2, 0], m[:, 1, 2] + m[:, 2, 1]
    # Each row is the quaternion times four of its own elements; the largest element divides best.
    rows = numpy.array([[1 + x + y + z, wx, wy, wz], [wx, 1 + x - y - z, xy, xz], [wy, xy, 1 - x + y - z, yz],
                        [wz, xz, yz, 1 - x - y + z]])
    best = numpy.argmax(numpy.einsum("iif->fi", rows), axis=1)
    found = rows[best, :, numpy.arange(len(m))]
    found /= numpy.linalg.norm(found, axis=1, keepdims=True)
    flips = numpy.einsum("fi,fi->f", found[1:], found[:-1]) < 0
    found[1:] *= numpy.cumprod(numpy.where(flips, -1, 1))[:, None]
    return found


def axis_angles(quats):
    """(frames x 4) angle in radians and axis, of (frames x 4) quaternions w, x, y, z. Where nothing turns, the axis is z."""
    sines = numpy.linalg.norm(quats[:, 1:], axis=1)
    still = sines < 1e-12  # Blender's own conversion, in single precision, loses turns of less than 0.0003
    turns = numpy.where(still[:, None], (0, 0, 1), quats[:, 1:] / numpy.where(still, 1, sines)[:, None])
    return numpy.column_stack([2 * numpy.arctan2(sines, quats[:, 0]), turns])


def matrices(quats):
    """(... x 3 x 3) of (... x 4) quaternions x, y, z, w."""
    q = numpy.asarray(quats) / numpy.linalg.norm(quats, axis=-1, keepdims=True)
    x, y, z, w = numpy.moveaxis(q, -1, 0)
    rows = [[1 - 2 * (y * y + z * z), 2 * (x * y - z * w), 2 * (x * z + y * w)],
            [2 * (x * y + z * w), 1 - 2 * (x * x + z * z), 2 * (y * z - x * w)],
            [2 * (x * z - y * w), 2 * (y * z + x * w), 1 - 2 * (x * x + y * y)]]
    return numpy.moveaxis(numpy.array(rows), (0, 1), (-2, -1))


def euler_matrix(angles):
    """3 x 3 of angles in radians about x, then y, then z."""
    (cx, cy, cz), (sx, sy, sz) = numpy.cos(angles), numpy.sin(angles)
    about_x = numpy.array([[1, 0, 0], [0, cx, -sx], [0, sx, cx]])
    about_y = numpy.array([[cy, 0, sy], [0, 1, 0], [-sy, 0, cy]])
    about_z = numpy.array([[cz, -sz, 0], [sz, cz, 0], [0, 0, 1]])
    return about_z @ about_y @ about_x

"""Rotations of a head over a take: arrays of 3 x 3 matrices, one per frame."""

import numpy


def nearest_rotation(m):
    """The rotation nearest to a matrix, or to each of many."""
    u, _, v = numpy.linalg.svd(m)
    signs = numpy.ones(m.shape[:-2] + (3,))
    signs[..., 2] = numpy.linalg.det(u @ v)
    return (u * signs[..., None, :]) @ v


def from_quaternions(quaternions):
    """Of quaternions x, y, z, w."""
    x, y, z, w = numpy.asarray(quaternions, float).T
    rows = [
        [1 - 2 * (y * y + z * z), 2 * (x * y - z * w), 2 * (x * z + y * w)],
        [2 * (x * y + z * w), 1 - 2 * (x * x + z * z), 2 * (y * z - x * w)],
        [2 * (x * z - y * w), 2 * (y * z + x * w), 1 - 2 * (x * x + y * y)],
    ]
    return numpy.moveaxis(numpy.array(rows), 2, 0)


def vectors(rotations):
    """Axis times angle, in radians."""
    r = rotations
    axis = numpy.stack([r[:, 2, 1] - r[:, 1, 2], r[:, 0, 2] - r[:, 2, 0], r[:, 1, 0] - r[:, 0, 1]], 1) / 2
    sine = numpy.linalg.norm(axis, axis=1)
    angle = numpy.arctan2(sine, (numpy.trace(r, axis1=1, axis2=2) - 1) / 2)
    return axis * (angle / numpy.maximum(sine, 1e-12))[:, None]


def from_mean(rotations):
    """Each as a vector of its turn from the mean."""
    return vectors(rotations @ nearest_rotation(rotations.mean(0)).T)


def differences_deg(estimated, true):
    """The angle between each rotation and the true one.

    The two may be in different axes and relative to different neutral heads: what counts is the difference that remains in
    estimated = a true b with the best two constant rotations a and b. Fitting a and b in turn converges slowly where the
    head hardly moves; the turns from the two means give `a` directly.
    """
    a = numpy.eye(3)
    b = nearest_rotation(numpy.einsum("fji,fjk->ik", true, estimated))
    for _ in range(8):
        a = nearest_rotation(from_mean(estimated).T @ from_mean(true @ b))
        b = nearest_rotation(numpy.einsum("fji,fjk->ik", a @ true, estimated))
    return numpy.degrees(numpy.linalg.norm(vectors(estimated @ (a @ true @ b).transpose(0, 2, 1)), axis=1))


def plain_fit(points):
    """The rigid motion of points (frames x points x 3, NaN for one that is not seen) in plain least squares, from their
    median places: rotations and translations, NaN where fewer than three points are seen."""
    seen = numpy.isfinite(points).all(2)
    enough = seen.sum(1) >= 3
    rotations = numpy.full((len(points), 3, 3), numpy.nan)
    translations = numpy.full((len(points), 3), numpy.nan)
    if not enough.any():
        return rotations, translations
    reference = points[numpy.argmax(seen.sum(1))]
    for _ in range(4):
        weights = (seen & numpy.isfinite(reference).all(1))[enough].astype(float)
        count = weights.sum(1)[:, None]
        there, here = numpy.nan_to_num(points[enough]), numpy.nan_to_num(reference)
        middle_there = numpy.einsum("fn,fni->fi", weights, there) / count
        middle_here = weights @ here / count
        off_there, off_here = there - middle_there[:, None], here[None] - middle_here[:, None]
        products = numpy.einsum("fn,fni,fnj->fij", weights, off_there, off_here)
        rotations[enough] = nearest_rotation(products)
        translations[enough] = middle_there - numpy.einsum("fij,fj->fi", rotations[enough], middle_here)
        reference = numpy.nanmedian(stabilised(points, rotations, translations), 0)
    return rotations, translations


def stabilised(points, rotations, translations):
    """The points with a motion taken out."""
    return numpy.einsum("fji,fnj->fni", rotations, points - translations[:, None])

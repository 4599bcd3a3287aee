#pragma once

/// @file
/// All of mien. Start with mien/actor/actor_face.h (markers to points), mien/face/face.h (points to template
/// weights) and mien/character/character_face.h (template weights to a character); mien/batch/face_batch.h has
/// the first two for many frames at once.

/// @namespace mien
/// The library's functions and newer classes, and everything that its host programs are made of.

#include "mien/actor/actor_face.h"
#include "mien/base/affine.h"
#include "mien/base/bounded_text.h"
#include "mien/base/elementary.h"
#include "mien/batch/face_batch.h"
#include "mien/character/baked_clusters.h"
#include "mien/character/baked_shapes.h"
#include "mien/character/character_face.h"
#include "mien/character/expression_sum.h"
#include "mien/face/face.h"

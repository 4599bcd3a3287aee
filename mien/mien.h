#pragma once

// All of mien. Start with mien/actor/actor_face.h (markers to points) and mien/face/face.h (points to template weights).

#include "mien/actor/actor_face.h"
#include "mien/character/arrays.h"
#include "mien/face/face.h"

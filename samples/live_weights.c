/* Plays a take as if a camera sent it now, and prints the most that a shape gets:
 * live_weights TAKE PERFORMER CHARACTER SHAPE */
#include <mien_host.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* The source's markers: here those of the take that is played. */
static int add_face(mien_live* live, const mien_take* take, const mien_performer* performer,
                    const mien_character* character, size_t* number, mien_messages** errors) {
  const size_t count = mien_take_marker_count(take);
  const char** names = malloc(count * sizeof *names);
  if (!names) return 0;
  for (size_t m = 0; m < count; ++m) names[m] = mien_take_marker(take, m);
  mien_live_face face = MIEN_LIVE_FACE_INIT;
  face.kind = MIEN_LIVE_MARKERS;
  face.names = names;
  face.name_count = count;
  face.performer = performer;
  face.character = character; /* without `take` or a neutral face, the first two seconds show it */
  const mien_status status = mien_live_add(live, &face, number, errors);
  free(names);
  return status == MIEN_OK;
}

/* Feeds all frames; `most` gets the largest weight of the shape. */
static int play(mien_live* live, size_t face, const mien_take* take, size_t shape, double* most,
                mien_messages** errors) {
  mien_array positions = MIEN_ARRAY_INIT, times = MIEN_ARRAY_INIT; /* a take's are consecutive */
  if (mien_take_get_array(take, MIEN_TAKE_POSITIONS, &positions, errors) != MIEN_OK ||
      mien_take_get_array(take, MIEN_TAKE_TIMES, &times, errors) != MIEN_OK)
    return 0;
  mien_live_frame frame = MIEN_LIVE_FRAME_INIT;
  frame.face = face;
  frame.value_count = 3 * positions.shape[1];
  for (size_t f = 0; f < positions.shape[0]; ++f) {
    frame.values = (const double*)positions.data + f * frame.value_count;
    frame.time = frame.arrival = ((const double*)times.data)[f];
    if (mien_live_feed(live, &frame, NULL, errors) != MIEN_OK) return 0;
    for (size_t r = 0; r < mien_live_result_count(live); ++r) {
      mien_array weights = MIEN_ARRAY_INIT; /* until the next frame */
      if (mien_live_get_array(live, r, MIEN_FRAME_SHAPE_WEIGHTS, &weights, errors) != MIEN_OK) return 0;
      if (((const double*)weights.data)[shape] > *most) *most = ((const double*)weights.data)[shape];
    }
  }
  return 1;
}

int main(int argc, char** argv) {
  if (argc != 5) {
    fprintf(stderr, "usage: live_weights TAKE PERFORMER CHARACTER SHAPE\n");
    return 2;
  }
  mien_messages* errors = NULL;
  mien_take* take = mien_take_read(argv[1], NULL, NULL, &errors);
  mien_performer* performer = take ? mien_performer_load(argv[2], &errors) : NULL;
  mien_character* character = performer ? mien_character_load(argv[3], &errors) : NULL;
  mien_live* live = character ? mien_live_new(&errors) : NULL;
  size_t face = 0, shape = 0;
  double most = 0;
  int status = 1;
  if (live && add_face(live, take, performer, character, &face, &errors)) {
    const size_t shapes = mien_live_name_count(live, face, MIEN_SHAPE_NAMES);
    while (shape < shapes && strcmp(mien_live_name(live, face, MIEN_SHAPE_NAMES, shape), argv[4]) != 0)
      ++shape;
    if (shape == shapes) {
      fprintf(stderr, "%s has no shape %s\n", argv[3], argv[4]);
    } else if (play(live, face, take, shape, &most, &errors)) {
      mien_live_statistics statistics = MIEN_LIVE_STATISTICS_INIT;
      mien_live_get_statistics(live, face, &statistics);
      printf("%s is at most %.3f in %llu frames\n", argv[4], most, (unsigned long long)statistics.sent);
      status = 0;
    }
  }
  fprintf(stderr, "%s", mien_messages_text(errors)); /* nothing if there are none */

  mien_messages_free(errors);
  mien_live_free(live);
  mien_character_free(character);
  mien_performer_free(performer);
  mien_take_free(take);
  return status;
}

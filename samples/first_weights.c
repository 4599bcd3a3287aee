/* Solves a take and prints the weights of one template: first_weights TAKE PERFORMER CHARACTER OUT */
#include <mien_host.h>
#include <stdio.h>

/* Prints what is wrong and frees it. */
static int fail(mien_messages* errors) {
  fprintf(stderr, "%s", mien_messages_text(errors));
  mien_messages_free(errors);
  return 1;
}

static int report(void* user, mien_stage stage, size_t done, size_t total) {
  (void)user;
  if (stage == MIEN_SOLVING && total > 0 && done == 0) fprintf(stderr, "solving %zu frames\n", total);
  return 0; /* anything else stops the solve */
}

static int solve(const char* const* names, mien_take** take, mien_performer** performer,
                 mien_character** character, mien_settings** settings, mien_animation** animation,
                 mien_messages** errors) {
  *take = mien_take_read(names[0], NULL, NULL, errors);
  if (!*take) return 0;
  *performer = mien_performer_load(names[1], errors);
  if (!*performer) return 0;
  *character = mien_character_load(names[2], errors);
  if (!*character) return 0;
  *settings = mien_settings_new(MIEN_STEP_SOLVE, errors);
  if (!*settings || mien_settings_set(*settings, "smooth", "8", errors) != MIEN_OK) return 0;
  mien_progress progress = MIEN_PROGRESS_INIT;
  progress.report = report;
  *animation = mien_solve(*take, *performer, *character, *settings, &progress, errors);
  return *animation != NULL;
}

int main(int argc, char** argv) {
  if (argc != 5) {
    fprintf(stderr, "usage: first_weights TAKE PERFORMER CHARACTER OUT\n");
    return 2;
  }
  mien_take* take = NULL;
  mien_performer* performer = NULL;
  mien_character* character = NULL;
  mien_settings* settings = NULL;
  mien_animation* animation = NULL;
  mien_messages* errors = NULL;
  const char* const names[] = {argv[1], argv[2], argv[3]};
  int status = 0;

  if (!solve(names, &take, &performer, &character, &settings, &animation, &errors)) {
    status = fail(errors);
  } else {
    /* frames x templates: a view of the animation's own memory */
    mien_array weights = MIEN_ARRAY_INIT;
    mien_animation_get_array(animation, MIEN_ANIMATION_WEIGHTS, &weights, NULL);
    printf("%zu frames of %zu templates\n", weights.shape[0], weights.shape[1]);
    double most = 0;
    for (size_t frame = 0; frame < weights.shape[0]; ++frame) {
      const double* row = (const double*)((const char*)weights.data + (ptrdiff_t)frame * weights.strides[0]);
      if (row[0] > most) most = row[0];
    }
    printf("%s is at most %.3f\n", mien_animation_name(animation, MIEN_TEMPLATE_NAMES, 0), most);
    if (mien_animation_write(animation, argv[4], NULL, NULL, NULL, &errors) != MIEN_OK) status = fail(errors);
  }

  mien_animation_free(animation); /* freeing NULL does nothing */
  mien_settings_free(settings);
  mien_character_free(character);
  mien_performer_free(performer);
  mien_take_free(take);
  return status;
}

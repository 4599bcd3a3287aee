#include "host/c_interface/messages.h"

#include "host/c_interface/call.h"
#include "host/c_interface/struct_size.h"

using namespace mien;

mien_messages::mien_messages(mien_status how, const std::vector<Problem>& problems) : status(how) {
  for (const Problem& p : problems)
    Add({.code = std::string(ToText(p.code)),
         .file = p.file,
         .place = p.place,
         .what = p.what,
         .fix = p.fix,
         .text = Message(p)});
}

void mien_messages::Add(const std::vector<Note>& notes, const std::string& file) {
  for (const Note& note : notes)
    Add({.code = std::string(ToText(note.code)),
         .file = file,
         .place = note.place,
         .what = note.what,
         .fix = "",
         .text = Message(Problem{note.code, file, note.place, note.what, ""})});
}

void mien_messages::Add(Line line) {
  text += line.text + "\n";
  lines.push_back(std::move(line));
}

mien_status mien_messages_status(const mien_messages* messages) {
  return !messages ? MIEN_OK : Known(messages) ? messages->status : MIEN_USAGE;
}

size_t mien_messages_count(const mien_messages* messages) {
  return Known(messages) ? messages->lines.size() : 0;
}

mien_status mien_messages_get(const mien_messages* messages, size_t index, mien_message* message) {
  if (!Known(messages) || index >= messages->lines.size()) return MIEN_USAGE;
  const mien_messages::Line& line = messages->lines[index];
  return FillStruct(message, mien_message{.struct_size = sizeof(mien_message),
                                          .code = line.code.c_str(),
                                          .file = line.file.c_str(),
                                          .place = line.place.c_str(),
                                          .what = line.what.c_str(),
                                          .fix = line.fix.c_str(),
                                          .text = line.text.c_str()});
}

const char* mien_messages_text(const mien_messages* messages) {
  return Known(messages) ? messages->text.c_str() : "";
}

mien_status mien_messages_free(mien_messages* messages) {
  return IsOutOfMemory(messages) ? MIEN_OK : Free(messages);
}

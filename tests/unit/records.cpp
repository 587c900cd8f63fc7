#include "records.h"

#include <string.h>

#include "providers/diag/diag.h"

namespace {

std::mutex g_mutex;
Records* g_records = nullptr;

Record parse(const diag_site* site, const std::string& whole) {
  Record record{"", whole, site->mask, whole};
  const size_t tag_end = whole.find("] ");
  if (whole.empty() || whole[0] != '[' || tag_end == std::string::npos) return record;
  record.tag = whole.substr(1, tag_end - 1);
  record.tag.erase(0, record.tag.find_first_not_of(' '));
  record.text = whole.substr(tag_end + 2);
  if (const size_t prefix_end = record.text.find("]-"); record.text[0] == '[' && prefix_end != std::string::npos)
    record.text.erase(0, prefix_end + 2);
  if (record.text.ends_with(" \n")) record.text.erase(record.text.size() - 2);
  return record;
}

}  // namespace

int Diag_LSM_Init(void*) { return 1; }

int msg_sprintf(const diag_site* site, const char* text) {
  const std::scoped_lock lock(g_mutex);
  if (g_records != nullptr) g_records->all.push_back(parse(site, text));
  return static_cast<int>(strlen(text));
}

Records records_of(const std::function<void()>& body) {
  Records records;
  {
    const std::scoped_lock lock(g_mutex);
    g_records = &records;
  }
  body();
  const std::scoped_lock lock(g_mutex);
  g_records = nullptr;
  return records;
}

#include "frame/Fields.h"

#include <algorithm>
#include <cstring>

namespace xo::frame {

std::string ArgText(const char* text) {
  return text == nullptr ? std::string() : std::string(text);
}

std::string FieldText(const TextField& field) {
  const char* end = std::find(field, field + XO_TEXT_FIELD, '\0');
  return std::string(field, end);
}

void CopyToField(TextField& field, const std::string& text) {
  const std::size_t length = std::min(text.size(), std::size_t{XO_TEXT_FIELD - 1});
  std::memcpy(field, text.data(), length);
  field[length] = '\0';
}

}  // namespace xo::frame

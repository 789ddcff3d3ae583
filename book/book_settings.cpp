#include "book/book_settings.h"

namespace vorn {

BookSettings book_settings;

}  // namespace vorn

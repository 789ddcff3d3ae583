#include "book/book_settings.h"

BookSettings book_settings;

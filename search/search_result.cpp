#include "search/search_result.h"

namespace vorn {

SearchResult search_result;

void reset_search_result() {
    search_result = SearchResult{};
    for (int d = 0; d < kMaxPly; d++) search_result.depth_score[d] = -kInfinite;
}

}  // namespace vorn

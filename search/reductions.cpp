#include "search/reductions.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "eval/engine_params.h"
#include "core/output.h"

namespace vorn {

void build_lmr_table(EngineParams& p) {
    double scale = std::sqrt(double(p.LMR_strength > 0 ? p.LMR_strength : 0)) * 0.1 * 0.55;
    for (int pv = 0; pv < 2; pv++)
        for (int d = 0; d < 70; d++)
            for (int n = 0; n < 32; n++) {
                int r = 0;
                if (d >= 3 && n >= 2) {
                    double x = scale * (std::sqrt(double(d + n)) - 2.5);
                    if (!pv) x += 1.2;
                    r = static_cast<int>(std::round(x));  // halves away from zero
                    r = std::min(r, d - 2 - pv);
                    if (r > 3 - pv)
                        r = 3 - pv;
                    else if (r < 0)
                        r = 0;
                }
                p.lmr_table[pv][d][n] = static_cast<uint8_t>(r);
            }
}

void init_lmr_tables() { build_lmr_table(params); }

void print_lmr_tables() {
    char line[256];
    for (int pv = 0; pv < 2; pv++) {
        if (pv) print_unlogged("");
        for (int d = 1; d <= 30; d++) {
            int len = std::snprintf(line, sizeof line, "%2d  ", d);
            for (int n = 0; n < 32; n++)
                len += std::snprintf(line + len, sizeof line - len, "%d ", params.lmr_table[pv][d][n]);
            print_unlogged(line);
        }
    }
}

}  // namespace vorn

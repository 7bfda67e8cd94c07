#include "readers/study_intake.h"

#include "utils/lfile.h"

bool study_intake::keeps_individual(const std::string& id) {
    if (individuals.contains(id)) LOG.error("Two individuals or more have the following ID : " + id);
    if (!filter.checkInd(id)) return false;
    individuals.insert(id);
    return true;
}

bool study_intake::keeps_variant(int pos) {
    if (pos < 0) return false;
    if (pos < last_position)
        LOG.error("Wrong ordering in physical positions curr_pos=" + std::to_string(pos) +
                  " prev_pos=" + std::to_string(last_position));
    if (!filter.checkSnp(pos)) return false;
    last_position = pos;
    return true;
}

#include "utils/random_id.h"

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

std::string random_id() {
    return boost::uuids::to_string(boost::uuids::random_generator()());
}

// SPDX-License-Identifier: MIT
#include "gige/OrvoGbePhysicalNetworkInterfaceD.h"

#include <boost/format.hpp>

namespace orvo::core::zume {

std::string OrvoGbePhysicalNetworkInterface::D::phyContentToString(unsigned short value) {
    std::string text = (boost::format("0x%04x") % value).str() + " [ ";
    for (int bit = 15; bit >= 0; --bit) {
        text += (value >> bit) & 1 ? '1' : '0';
        if (bit % 4 == 0 && bit != 0) text += '_';
    }
    return text + " ] ";
}

} // namespace orvo::core::zume

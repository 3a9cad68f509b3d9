#pragma once
// A class deriving from both helper templates, as the catalog and the
// factory do, with a base directory of the test's choosing.

#include <string>
#include <utility>

#include "orvik/util/file_operator.h"
#include "orvik/util/string_manipulate.h"

namespace Orvik::Testing {

class HelperHost : public Orvik::StringManipulate<HelperHost>,
                   public Orvik::FileOperator<HelperHost> {
public:
    explicit HelperHost(std::string base = "C:\\base") : base_(std::move(base)) {}
    const char* GetBaseDirectory() const { return base_.c_str(); }

private:
    std::string base_;
};

}  // namespace Orvik::Testing

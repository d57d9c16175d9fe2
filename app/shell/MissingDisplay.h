#pragma once

namespace kopertal {

/// While it lives, which is while the application object is made, a display that cannot be used
/// ends the process with a message for the user and exit code 1. The toolkit itself would abort.
class MissingDisplay {
public:
    MissingDisplay();
    ~MissingDisplay();
    MissingDisplay(const MissingDisplay&) = delete;
    MissingDisplay& operator=(const MissingDisplay&) = delete;
};

} // namespace kopertal

// What tests ask of the system: variables of the environment and the drive C.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

/// Sets a variable, or removes it with a null value.
inline void SetVariable(const char *name, const char *value) {
#ifdef _WIN32
    _putenv_s(name, value == nullptr ? "" : value);
#else
    value == nullptr ? unsetenv(name) : setenv(name, value, 1);
#endif
}

/// Sets a variable while this object lives, then puts back what was there.
class Variable {
public:
    Variable(const std::string &name, const std::string &value) : name_(name) {
        if (const char *old = std::getenv(name.c_str()))
            old_ = old;
        SetVariable(name.c_str(), value.c_str());
    }
    ~Variable() { SetVariable(name_.c_str(), old_ ? old_->c_str() : nullptr); }
    Variable(const Variable &) = delete;
    Variable &operator=(const Variable &) = delete;

private:
    std::string name_;
    std::optional<std::string> old_;
};

/// Puts the folder, whose name ends in a separator, behind C:\ where there are no drives; returns what stands
/// there. On Windows that is the drive itself: run the tests where nobody else uses it, as scripts/wine does.
inline std::string DriveC(const std::string &folder) {
#ifdef _WIN32
    return folder.empty() ? "" : "C:/";
#else
    SetVariable("K274_DRIVE_C", folder.c_str());
    return folder;
#endif
}

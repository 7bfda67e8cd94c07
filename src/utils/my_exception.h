#pragma once

#include <exception>
#include <string>
#include <utility>

/// A failure of sampling or of the copying model, reported to the user where it is caught.
class myException : public std::exception {
  public:
    explicit myException(std::string text) : msg(std::move(text)) {}
    const char* what() const noexcept override { return msg.c_str(); }

    std::string msg;
};

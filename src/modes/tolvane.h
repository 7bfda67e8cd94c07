#pragma once

#include <boost/program_options.hpp>
#include <string>
#include <vector>

#include "readers/filter_reader.h"

/// Start of the run, in seconds since 1970.
extern long START_DATE;

/// What any mode of the program needs: the filter lists, the options, the banner and the log. Each operation
/// of a mode calls that of this class first.
class tolvane {
  public:
    tolvane();
    virtual ~tolvane() = default;
    tolvane(const tolvane&) = delete;
    tolvane& operator=(const tolvane&) = delete;

    virtual void declare_options();
    /// Ends the run at the first option value that is out of range.
    virtual void check_options();
    /// Ends the run at the first file that can't be used.
    virtual void check_files();
    virtual void verbose_mode();
    virtual void verbose_options();
    virtual void read_files_and_initialise();
    virtual void write_files_and_finalise();

    /// Parses the command line, prints the banner, answers --help and opens the log. Option syntax errors
    /// end the process with one line and status 0, which scripts around the program rely on.
    void parse_command_line(const std::vector<std::string>& args, const std::string& mode);

  protected:
    /// Files that the run reads, and files that it writes when the log is called `log`: none of the latter
    /// may be one of the former, nor two of the latter one file.
    virtual std::vector<std::string> input_files() const;
    virtual std::vector<std::string> output_files(const std::string& log) const;

    /// Makes sure that no other run writes this file while this one lives.
    static void take_output(const std::string& file);

    bool given(const std::string& option) const { return options.count(option) > 0; }
    template <class Value>
    const Value& value(const std::string& option) const {
        return options[option].as<Value>();
    }

    filter_reader filter;
    boost::program_options::options_description descriptions;
    boost::program_options::variables_map options;

  private:
    void refuse_overwriting(const std::string& log) const;
};

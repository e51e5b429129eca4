// What a machine tells the log, and where it stands in its source.

#include "app/LogParameter.h"
#include "app/ZephApplication.h"
#include "config/Config.h"
#include "image/Dictionary.h"
#include "vm/ZephVM.h"

namespace {

// The most values that an event has.
const int kMostParameters = 8;

}  // namespace

// A script whose image forbids it is never logged.
void ZephVM::ReadTraceMask()
{
    Config* config = m_application->config();
    if (config && !(m_dictionary->flags() & Dictionary::kNoTrace))
        m_trace_mask = unsigned(config->value_integer(ZPCONFIG_LOG_LEVEL));
}

const char* ZephVM::source_name(int* length)
{
    if (!m_source_name)
        m_source_name = m_dictionary->Entry(m_source_index, &m_source_length);
    *length = m_source_length;
    return m_source_name;
}

bool ZephVM::Logs(unsigned int event)
{
    if (!(m_trace_mask & event))
        return false;
    int length;
    const char* name = source_name(&length);
    return m_application->Logs(name ? name : "", length, m_line);
}

// The values that every event starts with: script, source file and line.
void ZephVM::LogEvent(unsigned int event, std::initializer_list<LogParameter> parameters)
{
    int length;
    const char* name = source_name(&length);
    LogParameter line[kMostParameters + 1];
    int count = 0;
    line[count++] = m_path;
    line[count++] = LogParameter(name ? name : "", length);
    line[count++] = m_line;
    for (const LogParameter& parameter : parameters) {
        if (count < kMostParameters)
            line[count++] = parameter;
    }
    m_application->Log(event, line);
}

#pragma once

#include <glog/logging.h>

/// Builds a log line only if glog would show it. glog itself formats a line before it drops it for its severity. This
/// is a macro, so that the line is attributed to the file that writes it.
#define TARSEL_LOG(severity) LOG_IF(severity, FLAGS_minloglevel <= google::GLOG_##severity)

// The chief header of the module: the calling frame that every operation
// goes through, and the definers that the module body runs in order.  The
// one header that gathers others; subsystem code includes it and nothing of
// the frame besides.
#pragma once

#include "attributes.hpp"
#include "class_builder.hpp"
#include "function.hpp"
#include "json_text.hpp"
#include "names.hpp"
#include "numbers.hpp"
#include "operations.hpp"
#include "percent.hpp"
#include "property.hpp"
#include "recursion.hpp"
#include "reference.hpp"
#include "type_tests.hpp"

namespace tess {

// Each definer binds its names in the module's namespace; the module body
// (module_body.cpp) calls them in the order of the public names.
namespace body {
void define_value_helpers();        // equals .. dict_depth
void define_url_functions();        // postUrl .. format_exception
void define_list_tests();           // is_list .. is_list_none
void define_matlab_naming();        // matlabConvert, isMatlabNaming
void define_file_helpers();         // find_line_data .. getModuleVersions
void define_mseq_capability();      // parseMseqCapability
void define_dict_renaming();        // dictRename, dictRenameCapitals, dictReplace
void define_field_name_helpers();   // _convertToAscii, _dictMatlabReplace, _convertMatlabFieldName
void define_device_status();        // DeviceStatus
void define_device_record();        // IoddDev
void define_event_record();         // IoddEvent
void define_accessors();            // _IoddVarAccess, _IoddSysAccess, AccessLocks
void define_device_content();       // DeviceContent, MasterCommands
void define_repeat_timer();         // RepeatTimer
void define_stream_table();         // ProcessDataStreamTable
void define_stat_values();          // Stat, StatMs, StatSec, StatMerge
void define_statistics();           // BaseStatistics, Statistics
void define_master_statistics();    // MasterStatistics
void define_device_statistics();    // DevStatistics, ConnStatistics
void define_driver_options();       // DriverOptions
void define_driver_manager();       // CommonDriverManager
void define_logger();               // Logger
void define_error_handler();        // ErrorHandler
void define_exceptions();           // NotImplementedAbstract .. BlockParameterReadingNotActiveException
}  // namespace body

}  // namespace tess

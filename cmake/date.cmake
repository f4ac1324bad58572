# Manual pages say a date: that of the packages, so that the same sources give the same bytes on any day.
set(changelog ${PROJECT_SOURCE_DIR}/packaging/debian/changelog)
if(DEFINED ENV{SOURCE_DATE_EPOCH})
  set(TRVIL_EPOCH $ENV{SOURCE_DATE_EPOCH})
else()
  file(STRINGS ${changelog} trailer REGEX "^ -- " LIMIT_COUNT 1)
  string(REGEX REPLACE ".*>  " "" day "${trailer}")
  execute_process(COMMAND date -u -d ${day} +%s OUTPUT_VARIABLE TRVIL_EPOCH
                  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
endif()
execute_process(COMMAND date -u -d @${TRVIL_EPOCH} +%F OUTPUT_VARIABLE TRVIL_DATE
                OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)

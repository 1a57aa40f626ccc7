# Keeps every #include running one way: from the main window down through the logic to the
# files and the core. Run as a test:
#   cmake -DSOURCE_DIR=<checkout> -P cmake/CheckLayers.cmake
# A file may include its own folder and the folders listed before its own; plain C++ (outside
# a qt/ folder) may include no qt/ header, except in the composition root, which builds the
# real Qt pieces. tests/, bench/ and tools/ stand outside the order and may include anything,
# but nothing in the order includes them. docs/architecture.md explains the order.

cmake_minimum_required(VERSION 3.25)

# The folder order, lowest first.
set(layers
  core         # text, dates, atomic files, errors, the event log: needs nothing of ours
  platform     # the small interfaces (dialogs, clock, socket, sound, event loop) and their Qt adapters
  store        # the message record, the store file, the form's fields
  app          # settings file, data locations, session log
  format       # tagged text: encoder, decoder and filing, notice text, information line
  print        # page layout, print command, printer choice, the shared global file
  settings_ui  # the settings dialog and its check
  link         # transport, session, schedule, waits
  log309       # the ICS 309 communications log: lines, CSV, page; its dialog in qt/
  msglist      # the message list: rows, search, filters, reply matching; its window in qt/
  logview      # the session log window: plain words for the log's lines, following the file
  # <new>      Not placed yet. A folder that holds C++ but is missing from this list fails the
  #            check until it is placed: above every folder it includes, below every folder
  #            that includes it. A window the main window opens from a menu (a message list,
  #            a log) goes here, between link and editor.
  editor       # the main window: form logic, and the window itself in editor/qt
  main         # the composition root: builds the real pieces and starts the program
)
set(root main)
set(outside tests bench tools)

if(NOT SOURCE_DIR)
  message(FATAL_ERROR "usage: cmake -DSOURCE_DIR=<checkout> -P CheckLayers.cmake")
endif()
string(REPLACE ";" " < " order_text "${layers}")
set(failures 0)
function(fail)
  string(CONCAT text ${ARGN})
  message("${text}")
  math(EXPR n "${failures} + 1")
  set(failures ${n} PARENT_SCOPE)
endfunction()

# Every top-level folder holding C++ must have a place. Build trees (a CMakeCache.txt) and
# hidden folders are not ours to check.
file(GLOB tops LIST_DIRECTORIES true RELATIVE ${SOURCE_DIR} ${SOURCE_DIR}/*)
foreach(top ${tops})
  if(NOT IS_DIRECTORY ${SOURCE_DIR}/${top} OR top MATCHES "^\\." OR EXISTS ${SOURCE_DIR}/${top}/CMakeCache.txt)
    continue()
  endif()
  if(top IN_LIST layers OR top IN_LIST outside)
    continue()
  endif()
  file(GLOB_RECURSE code ${SOURCE_DIR}/${top}/*.cpp ${SOURCE_DIR}/${top}/*.h)
  if(code)
    fail("${top}/: this folder has no place in the folder order (${order_text}). Add it to the "
         "list in cmake/CheckLayers.cmake, above every folder it includes and below every folder "
         "that includes it (a window opened from the main window goes just below editor), and to "
         "the order in docs/architecture.md.")
  endif()
endforeach()

foreach(layer ${layers})
  if(NOT IS_DIRECTORY ${SOURCE_DIR}/${layer})
    fail("${layer}/: listed in the folder order of cmake/CheckLayers.cmake, but there is no such folder.")
    continue()
  endif()
  list(FIND layers ${layer} rank)
  file(GLOB_RECURSE files RELATIVE ${SOURCE_DIR} ${SOURCE_DIR}/${layer}/*.cpp ${SOURCE_DIR}/${layer}/*.h)
  foreach(file ${files})
    file(STRINGS ${SOURCE_DIR}/${file} lines REGEX "^[ \t]*#[ \t]*include[ \t]*\"[^\"/]+/")
    foreach(line ${lines})
      string(REGEX REPLACE "^[ \t]*#[ \t]*include[ \t]*\"([^\"]+)\".*" "\\1" included "${line}")
      string(REGEX REPLACE "/.*" "" target "${included}")
      if(target IN_LIST outside)
        fail("${file}: #include \"${included}\": ${target}/ stands outside the folder order: "
             "nothing in ${layer}/ may include it.")
      elseif(target IN_LIST layers)
        list(FIND layers ${target} target_rank)
        if(target_rank GREATER rank)
          fail("${file}: #include \"${included}\": ${layer}/ sits below ${target}/ in the folder "
               "order (${order_text}), so it may not include it. Move what both need down, or "
               "hand it in through an interface that ${layer}/ declares.")
        endif()
      elseif(NOT IS_DIRECTORY ${SOURCE_DIR}/${target})
        continue()  # not one of our folders
      endif()
      if(included MATCHES "/qt/" AND NOT file MATCHES "/qt/" AND NOT layer STREQUAL root)
        fail("${file}: #include \"${included}\": plain C++ may not include a qt/ header "
             "(only qt/ folders and ${root}/ may).")
      endif()
    endforeach()
  endforeach()
endforeach()

if(failures GREATER 0)
  message(FATAL_ERROR "${failures} place(s) break the folder order.")
endif()

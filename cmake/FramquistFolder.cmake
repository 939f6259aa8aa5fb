# A component folder: every .cpp in it is part of the library.
file(GLOB folder_sources RELATIVE ${CMAKE_CURRENT_SOURCE_DIR} CONFIGURE_DEPENDS *.cpp)
if(folder_sources)
  framquist_sources(${folder_sources})
endif()

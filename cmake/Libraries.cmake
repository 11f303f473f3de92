# elmu::logging and elmu::utils: what other projects link. Each brings its headers and everything that it needs, the
# host included. The libraries themselves leave the host out, so that the tests can link a scripted one.

function(hcd_library name)
    add_library(elmu_complete_${name} INTERFACE)
    target_link_libraries(elmu_complete_${name} INTERFACE ${ARGN} elmu_host)
    set_target_properties(elmu_complete_${name} PROPERTIES EXPORT_NAME ${name})
    add_library(elmu::${name} ALIAS elmu_complete_${name})
endfunction()

hcd_library(logging elmu_logging elmu_utils)
hcd_library(utils elmu_utils)

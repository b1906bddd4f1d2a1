# Where content/skin leaves what the program takes from it.
set(VELMORA_SKIN_DIR "${CMAKE_BINARY_DIR}/content/skin/members")
set(VELMORA_SKIN_STAMP "${CMAKE_BINARY_DIR}/content/skin/members.stamp")
set(VELMORA_SKIN_REGION "${CMAKE_BINARY_DIR}/content/skin/outline.rgn")
# And content/icon.
set(VELMORA_ICON_DIR "${CMAKE_BINARY_DIR}/content/icon")
set(VELMORA_ICON "${VELMORA_ICON_DIR}/velmora2.ico")

# velmora_wears_skin(target): a program of ours that shows the configuration
# window. Call it before velmora_ship: what ships gets the pictures behind it,
# and whatever the skin's drawings change is linked or glued anew.
function(velmora_wears_skin target)
  add_dependencies(${target} skin MakeBundle)
  set_target_properties(${target} PROPERTIES
    LINK_DEPENDS "${VELMORA_SKIN_STAMP}" VELMORA_SKIN "${VELMORA_SKIN_DIR}")
endfunction()

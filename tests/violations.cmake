# What the scripts that hold sources and documents against each other share: `refuse` reports a
# violation under the name in `check`, fails the script, and counts it in the caller's `violations`.
set(violations 0)
function(refuse)
  string(JOIN "" text ${ARGN})
  message(SEND_ERROR "${check}: ${text}")
  math(EXPR count "${violations} + 1")
  set(violations ${count} PARENT_SCOPE)
endfunction()

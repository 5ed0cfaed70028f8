#!/bin/sh
# reuse_objects.sh COMPILER ARGUMENTS...: compiler launcher that takes the library's objects from the build in TAMIX_BUILD
# instead of compiling them once more, where it has them. Everything else is compiled.
for argument; do
  case $argument in
    */tamix_objects.dir/*.o)
      built=$TAMIX_BUILD/inference/CMakeFiles/tamix_objects.dir/${argument#*/tamix_objects.dir/}
      [ ! -e "$built" ] || exec cp "$built" "$argument"
      ;;
  esac
done
exec "$@"

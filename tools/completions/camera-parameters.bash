# Completion of camera-parameters for bash. A test compares it with what the tool says of itself.

_camera_parameters() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]} words=
  if [ "$COMP_CWORD" -eq 1 ]; then
    words="show aim adjust validate convert diff view import export report --help --version"
  else
    case $previous in
      --camera | --size | --at | --pixel | --point | --box | --allow | --explain | --distance | --fail-above* | \
        --radius | --fill | --fov | --focal | --tolerance | --cropped | --binned | --resized | --alpha | \
        --view-size | --aspect | --margin | --scale | --max-error | --parent | --parent-from-robot | --extrinsics | \
        --extrinsics-of | --name | --model) return ;;
      --kind)
        words="robot ptz base"
        if [ "${COMP_WORDS[1]}" = view ]; then words="robot ptz"; fi
        ;;
      --flipped) words="h v hv" ;;
      --format) words="ros kalibr opencv mrcal colmap basalt" ;;
      --pixel-origin | --check-origin) words="centre corner" ;;
      --node) words="1 2" ;;
      --syntax) words="yaml xml json ini" ;;
      --distortion-model) words="plumb_bob rational_polynomial" ;;
      --centre) words="free middle kept" ;;
      --place) words="middle axis" ;;
      --choice) words="nearest upright no-flip" ;;
      --base | --output | -o | --csv | --track | --into | --check) ;;
      *)
        case ${COMP_WORDS[1]} in
          show) words="--camera --size --kind --json --help" ;;
          aim)
            words="--at --pixel --point --box --track --distance --radius --fill --fov --focal --place --choice"
            words="$words --strict --tolerance --all --json --help"
            ;;
          adjust) words="--base --output --binary --text --backup --force --again --json --help" ;;
          diff)
            words="--camera --size --distance --fail-above --fail-above-mm --fail-above-deg --json --csv --help"
            ;;
          view)
            words="--camera --size --at --kind --cropped --binned --resized --flipped --alpha --view-size --aspect"
            words="$words --margin --centre --json --help"
            ;;
          import)
            words="--output --into --binary --text --backup --format --pixel-origin --size --node --full-frame"
            words="$words --scale --max-error --parent --parent-from-robot --extrinsics --extrinsics-of --name"
            words="$words --model --strict --force --check --check-origin --help"
            ;;
          export)
            words="--format --output --camera --size --syntax --pixel-origin --max-error --distortion-model --parent"
            words="$words --parent-from-robot --help"
            ;;
          validate) words="--strict --allow --explain --kind --json --help" ;;
          report) words="--output --help" ;;
          convert) words="--text --binary --json --output --lossy --kind --help" ;;
        esac
        ;;
    esac
  fi
  # What is not an option is a file, which the shell completes by itself.
  if [ "$COMP_CWORD" -eq 1 ] || [[ $current == -* ]] || [[ $previous == --@(kind|centre|flipped|place|choice) ]] ||
    [[ $previous == --@(format|pixel-origin|check-origin|node|syntax|distortion-model) ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
  fi
}
complete -o default -F _camera_parameters camera-parameters

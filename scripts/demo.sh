#!/usr/bin/env bash
# demo.sh [PHOTOGRAPH]: the library's main job on a real camera frame. A photograph becomes an NV21 frame (by ffmpeg, an
# independent program) as a camera delivers it; the library makes a colour image and a smaller one of it.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/packages.sh
. scripts/packages.sh
# shellcheck source=scripts/photographs.sh
. scripts/photographs.sh
scripts/setup.sh "${demo_packages[@]}"
out=out/demo
mkdir -p "$out"

photograph=${1:-}
if [ -z "$photograph" ]; then
  photograph=out/photographs/coffee.png # in the public domain (CC0), by Rachel Michetti
  photograph python3-skimage coffee.png "$photograph"
fi

[ -e build/host/tools/tamix ] || echo "demo: building, a minute or two"
cmake --preset host >/dev/null
cmake --build --preset host --target tamix >/dev/null
tamix=build/host/tools/tamix

width=1920 height=1080
ffmpeg -v error -y -i "$photograph" \
  -vf "scale=$width:$height:force_original_aspect_ratio=increase:out_color_matrix=bt601:out_range=tv,crop=$width:$height" \
  -frames:v 1 -pix_fmt nv21 -f rawvideo "$out/frame.nv21"
echo "$photograph -> $out/frame.nv21 (${width}x$height NV21)"
"$tamix" run yuv-to-color --size ${width}x$height "$out/frame.nv21" "$out/frame.png"
"$tamix" run resize-bilinear --size ${width}x$height --output-size 640x360 "$out/frame.nv21" "$out/small.png"

#!/usr/bin/env bash
# gallery.sh: makes docs/gallery.md and its pictures: every operator, run by the command that stands beside its picture.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
# shellcheck source=scripts/packages.sh
. scripts/packages.sh
# shellcheck source=scripts/photographs.sh
. scripts/photographs.sh
scripts/setup.sh "${gallery_packages[@]}"
cmake --preset host >/dev/null
cmake --build --preset host --target tamix >/dev/null
work=$root/out/gallery pictures=$root/docs/gallery page=$root/docs/gallery.md
rm -rf "$work" "$pictures"
mkdir -p "$work" "$pictures"
photograph python3-skimage coffee.png "$root/out/photographs/coffee.png"
photograph python3-skimage chelsea.png "$root/out/photographs/chelsea.png"
photograph lomiri-wallpapers-20.04 Kleiber_by_Lukas_Baubkus.jpg "$root/out/photographs/nuthatch.jpg"

tamix() { "$root/build/host/tools/tamix" "$@"; }
# Debian's Python, which has the packages.
data() { /usr/bin/python3 "$root/scripts/gallery_data.py" "$@"; }
say() { printf '%s\n' "$@" >>"$page"; }

# section TITLE
section() { say "" "## $1"; }

# run OPERATOR CAPTION COMMANDS: runs the commands, and writes them down with the picture that follows.
run() {
  echo "gallery: $1"
  eval "$3" >"$work/log.txt"
  say "" "### $1" "" "$2" "" '```sh' "$3" '```' "" "![$1](gallery/$1.$4)"
}

# scaled FILE[@WIDTHxHEIGHT] OUT: a picture of this size, 300x200 by default, as rgb. Small pictures are enlarged without blending.
scaled() {
  local file=${1%@*} size=300x200
  [ "$file" = "$1" ] || size=${1#*@}
  tamix run resize-area "$file" --format rgb --output-size "$size" "$2" >/dev/null
}

# pair NAME PICTURE PICTURE...: pictures side by side.
pair() {
  local name=$1 files=() i=0
  shift
  for picture in "$@"; do
    scaled "$picture" "part$i.png"
    [ $((i += 1)) -eq $# ] || tamix run copy-make-border "part$((i - 1)).png" --border 0,0,0,6 --border-type constant --border-value 255 "part$((i - 1)).png" >/dev/null
    files+=("part$((i - 1)).png")
  done
  tamix run concat "${files[@]}" --mode beside --quality 72 "$pictures/$name.jpg" >/dev/null
}

# show OPERATOR CAPTION COMMANDS PICTURE...: a section with pictures side by side.
show() {
  run "$1" "$2" "$3" jpg
  pair "$1" "${@:4}"
}

# detail IN OUT [X,Y,WIDTH,HEIGHT]: a part, enlarged so that its pixels are seen.
detail() {
  tamix run rect-cut "$1" --rectangle "${3:-330,230,100,66}" part.png >/dev/null
  tamix run resize-nearest part.png --output-size 300x198 "$2" >/dev/null
}

cd "$work"
cp "$root/out/photographs/coffee.png" photo.png
tamix run resize-bilinear "$root/out/photographs/chelsea.png" --output-size 600x400 cat.png >/dev/null
ln -sf "$root/out/photographs/nuthatch.jpg" large.jpg
data inputs .
tamix run add photo.png more.rgb --size 600x400 noisy.png >/dev/null
tamix run subtract noisy.png less.rgb --size 600x400 noisy.png >/dev/null

cat >"$page" <<'TEXT'
# Gallery

Every operator on a photograph, made by [`scripts/gallery.sh`](../scripts/gallery.sh) with the commands shown; `photo.png` has
600x400 pixels. `tamix run OPERATOR --help` has each operator's settings.

The photographs come from Debian packages. `photo.png` is the coffee cup by Rachel Michetti and `cat.png` is Chelsea by
Stéfan van der Walt, both CC0, from `python3-skimage`. `large.jpg`, of 20 megapixels like a phone's, is "Kleiber" by Lukas
Baubkus, [CC BY-SA 3.0](https://creativecommons.org/licenses/by-sa/3.0/), from `lomiri-wallpapers-20.04`; the picture made of
it (`resize-area`, shrunk and cut) is under the same licence.
TEXT

section "Colours"
show color-to-yuv "Colour to a camera frame, NV21 or NV12. Its bytes as gray: the luma plane, below it the interleaved chroma." \
  'tamix run color-to-yuv photo.png frame.nv21
tamix run resize-area frame.nv21 --format gray --size 600x600 --output-size 200x200 planes.png' \
  photo.png planes.png@200x200
show yuv-to-color "A camera frame (NV21, NV12 or I420) to colour. It expects video range, as cameras deliver it; color-to-yuv gives full range, so contrast rises here." \
  'tamix run yuv-to-color frame.nv21 --size 600x400 color.png' planes.png@200x200 color.png
show color-to-gray "The luma of colours." 'tamix run color-to-gray photo.png gray.png' photo.png gray.png
show color-to-hsv "Hue, saturation and value, here shown as if they were red, green and blue." \
  'tamix run color-to-hsv photo.png hsv.png' photo.png hsv.png
show color-to-lab "Lightness and two colour axes, here shown as if they were red, green and blue." \
  'tamix run color-to-lab photo.png lab.png' photo.png lab.png
show lab-to-color "And back." 'tamix run lab-to-color lab.png --format lab back.png' lab.png back.png

run color3-to-color4 "Three channels become four, the last one zero. The bytes of a few pixels, before and after: every fourth is black." \
  'tamix run color3-to-color4 photo.png four.rgba' jpg
tamix run rect-cut photo.png --rectangle 250,150,16,8 few.rgb >/dev/null
tamix run color3-to-color4 few.rgb --size 16x8 few.rgba >/dev/null
tamix run resize-nearest few.rgb --format gray --size 48x8 --output-size 288x96 few3.png >/dev/null
tamix run resize-nearest few.rgba --format gray --size 64x8 --output-size 384x96 few4.png >/dev/null
pair color3-to-color4 few3.png@288x96 few4.png@384x96
run color4-to-color3 "The first three of four channels: the same bytes the other way round." \
  'tamix run color4-to-color3 four.rgba --size 600x400 three.png' jpg
pair color4-to-color3 few4.png@384x96 few3.png@288x96
show split "Channels as planes: red, green, blue." 'tamix run split photo.png channel.png' \
  channel-0.png@200x133 channel-1.png@200x133 channel-2.png@200x133
show merge "Planes to channels; here the red and blue ones changed places." \
  'tamix run merge channel-2.png channel-1.png channel-0.png swapped.png' photo.png swapped.png

section "Sizes and places"
run resize-area "Shrinking by averages; a detail, enlarged, beside that of resize-nearest, which leaves pixels out." \
  'tamix run resize-area large.jpg --output-size 376x212 small.png' jpg
tamix run resize-nearest large.jpg --output-size 376x212 flicker.png >/dev/null
detail small.png small-detail.png 135,73,100,66
detail flicker.png flicker-detail.png 135,73,100,66
pair resize-area small.png@355x200 small-detail.png flicker-detail.png
run resize-bilinear "Bilinear scaling: a detail, six times enlarged. A camera frame becomes colour on the way." \
  'tamix run resize-bilinear frame.nv21 --size 600x400 --output-size 3600x2400 large.png' jpg
tamix run rect-cut large.png --rectangle 1900,1400,300,200 bilinear.png >/dev/null
pair resize-bilinear photo.png bilinear.png
run resize-nearest "Scaling without blending: the same detail." \
  'tamix run resize-nearest photo.png --output-size 3600x2400 blocks.png' jpg
tamix run rect-cut blocks.png --rectangle 1900,1400,300,200 nearest.png >/dev/null
pair resize-nearest photo.png nearest.png
show rect-cut "A rectangle of an image." 'tamix run rect-cut photo.png --rectangle 150,10,300,200 cut.png' photo.png cut.png
show flip "Upside down, mirrored, or both." \
  'tamix run flip photo.png --mode vertical down.png
tamix run flip photo.png --mode horizontal mirrored.png' photo.png@200x133 down.png@200x133 mirrored.png@200x133
show rotate "A quarter turn right, a half turn, a quarter turn left." \
  'tamix run rotate photo.png --mode right right.png
tamix run rotate photo.png --mode left left.png' photo.png right.png@133x200 left.png@133x200
show transpose "Rows become columns." 'tamix run transpose photo.png transposed.png' photo.png transposed.png@133x200
show concat "Images side by side, or one below the other." 'tamix run concat photo.png cat.png --mode beside both.png' both.png@600x200
show copy-make-border "A border around an image: mirrored (reflect101) and repeated (wrap)." \
  'tamix run copy-make-border photo.png --border 100,100,150,150 --border-type reflect101 mirror.png
tamix run copy-make-border photo.png --border 100,100,150,150 --border-type wrap wrap.png' mirror.png wrap.png
show image-fuse-overlap "Two images joined with a blended band." \
  'tamix run image-fuse-overlap photo.png cat.png --overlap 240 --direction beside joined.png' joined.png@480x200

section "Warps"
show warp-affine "Rotation and scaling about the centre." 'tamix run warp-affine photo.png --angle 30 turned.png' photo.png turned.png
show warp-perspective "A perspective transform, by a matrix or by four points and where they go." \
  'tamix run warp-perspective photo.png --points 0,0,120,60 599,0,480,30 599,399,599,399 0,399,0,370 tilted.png' \
  photo.png tilted.png
run get-perspective-transform "The matrix that maps four points onto four others." \
  'tamix run get-perspective-transform --points 0,0,120,60 599,0,480,30 599,399,599,399 0,399,0,370 matrix.json' png
data transform matrix.json "$pictures/get-perspective-transform.png"
show remap "Every pixel from where two float maps say; these maps bend the image like a lens." \
  'tamix run remap photo.png x.f32 y.f32 --size 600x400 bent.png' photo.png bent.png

section "Filters"
run gaussian-filter "A 3x3 Gaussian on a noisy photograph; a detail, enlarged." 'tamix run gaussian-filter noisy.png smooth.png' jpg
detail noisy.png noisy-detail.png
detail smooth.png smooth-detail.png
pair gaussian-filter noisy-detail.png smooth-detail.png
run mean-filter "The mean of a 5x5 window, in floats; a detail, enlarged." 'tamix run mean-filter noisy.png --kernel-size 5 mean.png' jpg
tamix run color-to-gray noisy.png noisy-gray.png >/dev/null
detail noisy-gray.png noisy-detail.png
detail mean.png mean-detail.png
pair mean-filter noisy-detail.png mean-detail.png
run guided-filter "Smoothing that keeps the edges of a guide: guide, noisy image, result. A detail, enlarged." \
  'tamix run guided-filter photo.png noisy.png quiet.png' jpg
detail photo.png photo-detail.png
detail noisy.png noisy-detail.png
detail quiet.png quiet-detail.png
pair guided-filter photo-detail.png@200x132 noisy-detail.png@200x132 quiet-detail.png@200x132
show laplacian-filter "The second derivative: fine lines and edges." \
  'tamix run laplacian-filter photo.png --kernel-size 3 --absolute edges.png' photo.png edges.png

section "Morphology"
show erode "The smallest value of a window." 'tamix run erode photo.png --kernel-size 9 --shape ellipse eroded.png' photo.png eroded.png
show dilate "The largest value of a window." 'tamix run dilate photo.png --kernel-size 9 --shape ellipse dilated.png' photo.png dilated.png
tamix run threshold noisy.png --format gray --method otsu specks.png >/dev/null
tamix run merge specks.png specks.png specks.png specks.png >/dev/null
show morphology-ex "Erosion, dilation, opening or closing; opening takes single specks away." \
  'tamix run morphology-ex specks.png --morph open --kernel-size 5 --shape ellipse open.png' specks.png open.png
run get-structuring-element "Rectangle, cross and ellipse of 9x9, enlarged." \
  'tamix run get-structuring-element --kernel-size 9 --shape rectangle rectangle.png
tamix run get-structuring-element --kernel-size 9 --shape cross cross.png
tamix run get-structuring-element --kernel-size 9 --shape ellipse ellipse.png' jpg
for shape in rectangle cross ellipse; do
  tamix run copy-make-border $shape.png --border 1,1,1,1 --border-type constant $shape.png >/dev/null
  tamix run resize-nearest $shape.png --output-size 165x165 $shape.png >/dev/null
done
pair get-structuring-element rectangle.png@165x165 cross.png@165x165 ellipse.png@165x165

section "Arithmetic"
show add "The sum, clamped; here of two darker images." \
  'tamix run convert-scale-abs photo.png --scale 0.5 half.png
tamix run convert-scale-abs cat.png --scale 0.5 half-cat.png
tamix run add half.png half-cat.png sum.png' half.png@200x133 half-cat.png@200x133 sum.png@200x133
show subtract "The difference, clamped: a photograph less its smoothed self, here twenty times as strong." \
  'tamix run gaussian-filter photo.png smooth.png
tamix run subtract photo.png smooth.png difference.png
tamix run convert-scale-abs difference.png --scale 20 strong.png' photo.png strong.png
tamix run data-type-convert photo.png photo.f32 >/dev/null
show multiple "The product, of floats here: a lens that darkens the corners." \
  'tamix run data-type-convert photo.png photo.f32
tamix run multiple photo.f32 lens.f32 --format rgb --size 600x400 dark.png' photo.png dark.png
show divide "The quotient: the same lens corrected." \
  'tamix run data-type-convert dark.png dark.f32
tamix run divide dark.f32 lens.f32 --format rgb --size 600x400 even.png' dark.png even.png
show convert-scale-abs "|value * scale + offset|: more contrast." \
  'tamix run convert-scale-abs photo.png --scale 1.6 --offset -60 contrast.png' photo.png contrast.png
show data-type-convert "Bytes to floats and back. Back means the low 8 bits of the truncated value: here, of doubled values, 256 becomes 0." \
  'tamix run data-type-convert photo.png photo.f32
tamix run convert-scale-abs photo.f32 --format rgb --size 600x400 --scale 2 twice.f32
tamix run data-type-convert twice.f32 --format rgb --size 600x400 twice.png' photo.png twice.png
tamix run convert-scale-abs disc.rgb --size 600x400 disc.png >/dev/null
show bitwise-and "Only where a disc is white." 'tamix run bitwise-and photo.png disc.png inside.png' photo.png@200x133 disc.png@200x133 inside.png@200x133
show bitwise-or "White where the disc is." 'tamix run bitwise-or photo.png disc.png outside.png' photo.png outside.png
show bitwise-xor "Complemented where the disc is." 'tamix run bitwise-xor photo.png disc.png toggled.png' photo.png toggled.png
show bitwise-not "The complement." 'tamix run bitwise-not photo.png negative.png' photo.png negative.png
run normalization "(value - mean) / std of each channel, in floats; the red channel's values." \
  'tamix run normalization photo.png --mean 158,85,50 --std 67,60,56 normal.f32' png
data values normal.f32 "$pictures/normalization.png"

section "Numbers"
tamix run threshold gray.png --method otsu mask.png >found.txt
show threshold "Otsu's method finds the threshold itself: $(sed -n 's/^threshold //p' found.txt) here." \
  'tamix run threshold photo.png --format gray --method otsu mask.png' photo.png mask.png
show count-non-zero "The pixels that are not zero: $(tamix run count-non-zero mask.png) of 240000 in this mask." \
  'tamix run count-non-zero mask.png' mask.png
run calc-hist "A histogram of one to four channels; here 64 bins of the gray values." \
  'tamix run calc-hist gray.png --bins 64 --range-max 256 histogram.json' png
data histogram histogram.json "$pictures/calc-hist.png"
run mean-std "$(tamix run mean-std gray.png | sed 's/channel 0: mean \(.*\), std \(.*\)/Mean \1 and standard deviation \2 of the gray values./')" \
  'tamix run mean-std gray.png statistics.json' png
data statistics histogram.json statistics.json "$pictures/mean-std.png"

count=$(find "$pictures" -type f | wc -l)
echo "gallery: $count pictures, $(du -sk "$pictures" | cut -f 1) KiB"
[ "$count" -eq "$(tamix list --json | grep -c '"name": "[a-z0-9-]*", "type"')" ]

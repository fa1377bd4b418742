#!/usr/bin/env bash
# Draws the gallery: one map of each projection family that the library computes itself, and the page
# that shows them. Needs the built program: docs/gallery/make.sh [PROGRAM].
set -euo pipefail
top=$(cd "$(dirname "$0")/../.." && pwd)
program=$(realpath "${1:-$top/build/bin/oprj}")
[ -x "$program" ] || { echo "make.sh: no program $program" >&2; exit 1; }
cd "$top/docs/gallery"
page=README.md

# number|system; the names are the program's own.
systems='
0|Geographic; datum=WGS 84
1|UTM; zone=33; datum=WGS 84
2|State Plane; zone=Florida East; nad=83
3|Albers Conical Equal Area; datum=NAD27; lat_1=29.5; lat_2=45.5; lon_0=-96; lat_0=23
4|Lambert Conformal Conic; datum=NAD27; lat_1=33; lat_2=45; lon_0=-96; lat_0=23
5|Mercator; datum=WGS 84; lon_0=0; lat_ts=0
6|Polar Stereographic; datum=WGS 84; lon_0=0; lat_ts=71
7|Polyconic; datum=NAD27; lon_0=-96; lat_0=30
8|Equidistant Conic; datum=NAD27; lat_1=29.5; lat_2=45.5; lon_0=-96; lat_0=23
9|Transverse Mercator; datum=WGS 84; k_0=0.9996; lon_0=15; lat_0=0
10|Stereographic; spheroid=GRS 1980 Authalic Sphere; lon_0=10; lat_0=50
11|Lambert Azimuthal Equal-area; spheroid=GRS 1980 Authalic Sphere; lon_0=10; lat_0=50
12|Azimuthal Equidistant; spheroid=GRS 1980 Authalic Sphere; lon_0=10; lat_0=50
13|Gnomonic; spheroid=GRS 1980 Authalic Sphere; lon_0=10; lat_0=50
14|Orthographic; spheroid=GRS 1980 Authalic Sphere; lon_0=10; lat_0=50
15|General Vertical Near-side Perspective; spheroid=GRS 1980 Authalic Sphere; h=12000000; lon_0=-75; lat_0=20
16|Sinusoidal; spheroid=GRS 1980 Authalic Sphere; lon_0=0
17|Equirectangular; spheroid=GRS 1980 Authalic Sphere; lon_0=0; lat_ts=40
18|Miller Cylindrical; spheroid=GRS 1980 Authalic Sphere; lon_0=-160
19|Van der Grinten I; spheroid=GRS 1980 Authalic Sphere; lon_0=0
20|Oblique Mercator (Hotine); datum=WGS 84; k_0=0.9996; azimuth=53; lon_0=115; lat_0=4
21|Space Oblique Mercator; spheroid=Clarke 1866; datum=NAD27; satellite=2; path=15
22|Modified Transverse Mercator; datum=NAD27
23|ESOM; datum=WGS 84; satellite=5; path=27
24|Robinson; spheroid=GRS 1980 Authalic Sphere; lon_0=0
25|SOM (generic); datum=WGS 84; satellite=5; path=190
26|Alaska Conformal; datum=NAD27
27|Interrupted Goode Homolosine; spheroid=GRS 1980 Authalic Sphere
28|Mollweide; spheroid=GRS 1980 Authalic Sphere; lon_0=0
29|Interrupted Mollweide; spheroid=GRS 1980 Authalic Sphere
30|Hammer; spheroid=GRS 1980 Authalic Sphere; lon_0=0
31|Wagner IV; spheroid=GRS 1980 Authalic Sphere; lon_0=0
32|Wagner VII; spheroid=GRS 1980 Authalic Sphere; lon_0=0
33|Oblated Equal Area; spheroid=GRS 1980 Authalic Sphere; p2=1.33; p3=2; lon_0=-160; lat_0=5
34|Plate Carree; spheroid=GRS 1980 Authalic Sphere; lon_0=0
35|Equidistant Cylindrical; spheroid=GRS 1980 Authalic Sphere; lon_0=0; lat_ts=45
36|Gauss Kruger; datum=WGS 84; k_0=1; lon_0=15
37|Eckert VI; spheroid=GRS 1980 Authalic Sphere; lon_0=0
38|Eckert V; spheroid=GRS 1980 Authalic Sphere; lon_0=0
39|Eckert IV; spheroid=GRS 1980 Authalic Sphere; lon_0=0
40|Eckert III; spheroid=GRS 1980 Authalic Sphere; lon_0=0
41|Eckert II; spheroid=GRS 1980 Authalic Sphere; lon_0=0
42|Eckert I; spheroid=GRS 1980 Authalic Sphere; lon_0=0
43|Gall Stereographic; spheroid=GRS 1980 Authalic Sphere; lon_0=0
44|Behrmann; spheroid=GRS 1980 Authalic Sphere; lon_0=0
45|Winkel I; spheroid=GRS 1980 Authalic Sphere; lon_0=0; lat_ts=50.45977625218981
46|Winkel II; spheroid=GRS 1980 Authalic Sphere; lon_0=0; lat_ts=50.45977625218981
47|Quartic Authalic; spheroid=GRS 1980 Authalic Sphere; lon_0=0
48|Loximuthal; spheroid=GRS 1980 Authalic Sphere; lon_0=0; lat_0=40
49|Bonne; datum=WGS 84; lon_0=10; lat_0=45
50|Stereographic (ellipsoidal); datum=WGS 84; lon_0=10; lat_0=50
51|Cassini; datum=WGS 84; lon_0=10; lat_0=50
52|Two-point Equidistant; spheroid=GRS 1980 Authalic Sphere; lon_1=-75; lat_1=40; lon_2=15; lat_2=50
53|Anchored LSR; datum=WGS 84; lon_0=10; lat_0=50
54|Krovak; spheroid=Bessel; k_0=0.9999; azimuth=30.28813975277778; lon_0=24.83333333333333; lat_0=49.5; lat_1=78.5; x_scale=-1; rotation=90
55|Double Stereographic; spheroid=Bessel; k_0=0.9999079; lon_0=5.38763888888889; lat_0=52.1561605555556
56|Aitoff; spheroid=GRS 1980 Authalic Sphere; lon_0=0
57|Craster Parabolic; spheroid=GRS 1980 Authalic Sphere; lon_0=0
58|Cylindrical Equal Area; datum=WGS 84; lon_0=0; lat_ts=30
59|Flat Polar Quartic; spheroid=GRS 1980 Authalic Sphere; lon_0=0
60|Times; spheroid=GRS 1980 Authalic Sphere; lon_0=0
61|Winkel Tripel; spheroid=GRS 1980 Authalic Sphere; lon_0=0; lat_0=50.467
62|Hammer-Aitoff; spheroid=GRS 1980 Authalic Sphere; lon_0=0
63|Vertical Near-side Perspective; spheroid=GRS 1980 Authalic Sphere; h=35800000; lon_0=10; lat_0=20
64|Hotine Oblique Mercator (azimuth, centre); datum=WGS 84; k_0=0.9996; azimuth=53; lon_0=115; lat_0=4
65|Hotine Oblique Mercator (two points, centre); datum=WGS 84; lat_0=40; lon_1=-90; lat_1=30; lon_2=-70; lat_2=45
66|Hotine Oblique Mercator (two points, natural origin); datum=WGS 84; lat_0=40; lon_1=-90; lat_1=30; lon_2=-70; lat_2=45
67|Lambert Conformal Conic (single standard parallel); datum=NAD27; lat_0=39; lon_0=-96; k_0=0.9996
68|Pseudo Mercator; datum=WGS 84; lon_0=0
69|Mercator (variant A); datum=WGS 84; lon_0=110; k_0=0.997
'

{
  echo "# Gallery"
  echo
  echo "Every projection family that the library computes itself, drawn by \`oprj draw\`. Made by"
  echo "\`docs/gallery/make.sh\`."
  echo
  echo "| Map | Number | Projection | Coordinate system |"
  echo "|---|---|---|---|"
} > $page
while IFS='|' read -r number system; do
  [ -n "$number" ] || continue
  picture=$number.png
  "$program" -q draw "$system" -o "$picture" --width 640
  echo "| ![${system%%;*}]($picture) | $number | ${system%%;*} | \`$system\` |" >> $page
done <<< "$systems"
printf '%s\n' *.png | xargs -P "$(nproc)" -n 5 python3 palette.py  # a third of the size
du -sh . >&2

# Shared by the benchmark scripts (sourced, not run).

# Runs a command under GNU time with its output in $out/last-output.txt;
# sets SECONDS_TAKEN (wall clock), CPU_TAKEN (user + system) and PEAK_KB.
measure() {
  local log=$out/time.log
  /usr/bin/time -v -o "$log" "$@" > "$out/last-output.txt" 2>&1 || true
  SECONDS_TAKEN=$(awk -F': ' '/Elapsed \(wall clock\)/ {n=split($2,t,":"); s=0; for(i=1;i<=n;i++) s=s*60+t[i]; print s}' "$log")
  CPU_TAKEN=$(awk -F': ' '/User time/ {u=$2} /System time/ {s=$2} END {print u+s}' "$log")
  PEAK_KB=$(awk -F': ' '/Maximum resident set size/ {print $2}' "$log")
}

# Renders $out/NAME.json with $out/NAME.export.json through the program under
# measure(); stops the benchmark when the export fails. Sets FRAMES too.
render_draft() {
  local name=$1
  rm -f "$out/$name.mp4"
  echo "bench: $name"
  measure "$program" "$out/$name.json" "$out/$name.export.json"
  if ! grep -q "export success" "$out/last-output.txt"; then
    echo "bench: $name failed:" >&2; tail -5 "$out/last-output.txt" >&2; exit 1
  fi
  FRAMES=$(ffprobe -v error -select_streams v -count_packets -show_entries stream=nb_read_packets -of csv=p=0 "$out/$name.mp4")
}

# One line naming the machine and its load before the run.
machine_line() {
  echo "Machine: $(nproc) cores, $(awk '/MemTotal/ {printf "%.0f GB", $2/1048576}' /proc/meminfo), $(grep -m1 'model name' /proc/cpuinfo | cut -d: -f2 | sed 's/^ //'); load average before the run: $1"
}

# A warm look-up table, 17 points per axis, as a .cube file.
make_warm_cube() {
  python3 scripts/make-cube.py "$1" 1.08 0.02 1 0.9
}

# Renders a bare draft and the same draft with more on it, and writes both
# rows and their ratios to $out/results.md:
#   compare_pair BARE LOADED "what the loaded one adds" FPS_GOAL [RSS_GOAL]
# With BENCH_CONTENT=1 each rendered video is also encoded again by plain
# ffmpeg with the same settings: the encoder's cost depends on the pictures
# (noise, zooms), and that time shows how much of the difference is the
# encoder's rather than the engine's.
compare_pair() {
  local bare=$1 loaded=$2 label=$3 fps_goal=$4 rss_goal=${5:-}
  local load_before results=$out/results.md
  load_before=$(cut -d" " -f1-3 /proc/loadavg)
  {
    echo "| case | frames | render s | render fps | CPU s | peak RSS MB |"
    echo "|---|---|---|---|---|---|"
  } > "$results"
  local name
  local -A fps rss again
  for name in "$bare" "$loaded"; do
    render_draft "$name"
    awk -v n="$name" -v f="$FRAMES" -v t="$SECONDS_TAKEN" -v c="$CPU_TAKEN" -v k="$PEAK_KB" \
      'BEGIN {printf "| %s | %d | %.1f | %.1f | %.0f | %.0f |\n", n, f, t, f / t, c, k / 1024}' | tee -a "$results"
    fps[$name]=$(awk -v f="$FRAMES" -v t="$SECONDS_TAKEN" 'BEGIN {printf "%.3f", f / t}')
    rss[$name]=$PEAK_KB
    if [ -n "${BENCH_CONTENT:-}" ]; then
      local frames=$FRAMES
      echo "bench: $name (ffmpeg encoding the rendered video again)"
      measure ffmpeg -v error -y -i "$out/$name.mp4" -c:v libx264 -b:v 3000k -c:a aac -b:a 128k -ar 44100 -ac 2 \
        "$out/$name.again.mp4"
      again[$name]=$(awk -v f="$frames" -v t="$SECONDS_TAKEN" 'BEGIN {printf "%.3f", f / t}')
      echo "| $name, ffmpeg encoding it again | $frames | $SECONDS_TAKEN | ${again[$name]} | $CPU_TAKEN | $((PEAK_KB / 1024)) |" \
        | tee -a "$results"
    fi
  done
  {
    echo
    awk -v l="$label" -v a="${fps[$loaded]}" -v b="${fps[$bare]}" -v g="$fps_goal" \
      'BEGIN {printf "With %s / bare: %.2f x the frame rate (goal at least %s)", l, a / b, g}'
    if [ -n "$rss_goal" ]; then
      awk -v a="${rss[$loaded]}" -v b="${rss[$bare]}" -v g="$rss_goal" 'BEGIN {printf ", %.2f x the peak RSS (goal at most %s)", a / b, g}'
    fi
    echo "."
    if [ -n "${BENCH_CONTENT:-}" ]; then
      awk -v a="${again[$loaded]}" -v b="${again[$bare]}" \
        'BEGIN {printf "Plain ffmpeg encoding the rendered videos again: %.2f x the frame rate on the loaded pictures (the encoder'"'"'s own share of the difference).\n", a / b}'
    fi
    machine_line "$load_before"
  } | tee -a "$results"
}

# Two 30-second testsrc2 clips at 30 fps with a tone, FOLDER/TAG-a.mp4 and
# FOLDER/TAG-b.mp4, key frames every 2 s; the second is the same pattern
# mirrored and recoloured, so both cost the encoder the same.
#   make_clip_pair WxH TAG FOLDER
make_clip_pair() {
  local size=$1 tag=$2 folder=$3
  ffmpeg -v error -y -f lavfi -i "testsrc2=s=$size:r=30:d=30" -f lavfi -i "sine=f=440:d=30:sample_rate=44100" \
    -c:v libx264 -preset veryfast -g 60 -b:v 8000k -pix_fmt yuv420p -c:a aac -ac 2 -shortest "$folder/$tag-a.mp4"
  ffmpeg -v error -y -f lavfi -i "testsrc2=s=$size:r=30:d=30,hflip,hue=h=120" -f lavfi -i "sine=f=660:d=30:sample_rate=44100" \
    -c:v libx264 -preset veryfast -g 60 -b:v 8000k -pix_fmt yuv420p -c:a aac -ac 2 -shortest "$folder/$tag-b.mp4"
}

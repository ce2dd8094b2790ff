#!/usr/bin/env bash
# One task of a farm render, as Slurm runs it on a node (the submitting
# ormadraft-farm copies this file into the render's work folder, which every
# node sees, and submits it for each job):
#
#   farm-task.sh part WORK    one picture-only range of the timeline (array task)
#   farm-task.sh sound WORK   the sound of the whole range, once
#   farm-task.sh join WORK    the parts joined without re-encoding, the sound
#                             muxed in, the result moved to its place in one rename
#   farm-task.sh entry WORK   one entry of a batch (array task)
#
# The arguments of each run are in args/KIND-INDEX (NUL-separated, so paths
# may hold any character); INDEX is the array task's index, 0 otherwise.
# ormadraft's exit status does not tell success (it is 1 either way), so a
# run succeeded when its console ends with "export success!". A failed run is
# requeued once through Slurm (the job is submitted with --requeue); a second
# failure is final and leaves status/KIND-INDEX.failed naming its log, which
# the submitting side reports. Success leaves status/KIND-INDEX.done. Run by
# another scheduler (no SLURM_JOB_ID: farm/kubernetes/render-jobs.json sets the
# array index itself), a failure just ends the run and that scheduler retries.
set -u
kind=$1
# The task runs in the folder the render was started from, as a local run
# would (a draft may name files relative to it); the work folder is named.
work=${2:-$(pwd)}
index=${SLURM_ARRAY_TASK_ID:-0}
name=$kind-$index
attempt=${SLURM_RESTART_COUNT:-0}
mkdir -p "$work/run" "$work/status" "$work/logs"
log=$work/logs/$name.log
out=$work/run/$name.out
err=$work/run/$name.err
# Slurm writes the job's output to the log; elsewhere the task does.
[ -n "${SLURM_JOB_ID:-}" ] || exec > >(tee -a "$log") 2>&1

echo "== $name attempt $((attempt + 1)) on $(hostname) at $(date -u +%FT%TZ)"
mapfile -d '' args <"$work/args/$name"

run_program() {
  # In the background so that its process id can be written down (a test
  # kills it there to play a lost node). Standard error is kept apart: it
  # holds the program's reason for a failure, which the batch summary shows
  # (standard output ends with the result line alone).
  "$@" >"$out" 2>"$err" &
  local pid=$!
  echo "$pid" >"$work/run/$name.pid"
  wait "$pid"
  cat "$out"
  if [ -s "$err" ]; then
    echo "== standard error"
    cat "$err"
  fi
  tail -n 1 "$out" | grep -q 'export success!'
}

join_parts() {
  # args: the output path, the sound file, then the parts in order.
  local target=$1 sound=$2
  shift 2
  local list=$work/run/parts.txt
  : >"$list"
  for part in "$@"; do
    # The concat list quotes with single quotes; a quote inside is '\''.
    printf "file '%s'\n" "${part//\'/\'\\\'\'}" >>"$list"
  done
  local folder=${target%/*} base=${target##*/}
  local extension=""
  [[ $base == *.* ]] && extension=.${base##*.}
  local temporary=$folder/.$base.farm-${SLURM_JOB_ID:-$$}.part$extension
  if ffmpeg -nostdin -v error -y -f concat -safe 0 -i "$list" -i "$sound" -map 0:v:0 -map 1:a:0 -c copy \
    "$temporary" && mv -f "$temporary" "$target"; then
    echo "joined $# parts into $target"
    return 0
  fi
  rm -f "$temporary"
  return 1
}

case $kind in
part | sound | entry) run_program "${args[@]}" ;;
join) join_parts "${args[@]}" ;;
*) echo "unknown task kind $kind" && exit 2 ;;
esac
status=$?

if [ $status -eq 0 ]; then
  echo "== $name done"
  touch "$work/status/$name.done"
  exit 0
fi
if [ -z "${SLURM_JOB_ID:-}" ]; then
  # Another scheduler (a Kubernetes Job) counts the attempts itself.
  echo "== $name failed; log: $log"
  exit 1
fi
if [ "$attempt" -lt 1 ]; then
  job=${SLURM_ARRAY_JOB_ID:+${SLURM_ARRAY_JOB_ID}_${SLURM_ARRAY_TASK_ID}}
  job=${job:-$SLURM_JOB_ID}
  echo "== $name failed; requeued for a second attempt"
  # Slurm ends this run and queues the task again with a restart count of 1.
  if scontrol requeue "$job"; then
    sleep 60
    exit 1
  fi
  echo "== $name could not be requeued"
fi
echo "== $name failed for good; log: $log"
printf '%s\n' "$log" >"$work/status/$name.failed"
exit 1

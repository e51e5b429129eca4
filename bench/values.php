<?php
// The same work as some cases of bench_values, in PHP. Prints nanoseconds for each item, or
// for each search of 64 KB; the least of several rounds.
//
//   php -n bench/values.php

const ITEMS = 100000;
const ROUNDS = 15;

function report(string $name, int $items, callable $work): void
{
    $least = INF;
    for ($round = 0; $round < ROUNDS; $round++) {
        $start = hrtime(true);
        $work();
        $least = min($least, hrtime(true) - $start);
    }
    printf("%-20s %9.1f ns\n", $name, $least / $items);
}

$filled = [];
for ($i = 1; $i <= ITEMS; $i++)
    $filled[$i] = $i;
$numbers = range(1, ITEMS);
mt_srand(1);
shuffle($numbers);

report('Array_Append', ITEMS, function () {
    $array = [];
    for ($i = 1; $i <= ITEMS; $i++)
        $array[$i] = $i;
});
report('Array_InOrder', ITEMS, function () use ($filled) {
    $sum = 0;
    for ($i = 1; $i <= ITEMS; $i++)
        $sum += $filled[$i];
});
report('Array_Random', ITEMS, function () use ($filled, $numbers) {
    $sum = 0;
    foreach ($numbers as $number)
        $sum += $filled[$number];
});

$text = '';
while (strlen($text) < 65536)
    $text .= 'abcdefghijklmnopqrstuvwxyz     '[mt_rand(0, 30)];
$text .= 'Needle in it';
report('Search_Word', 100, function () use ($text) {
    for ($i = 0; $i < 100; $i++)
        strpos($text, 'in it');
});
report('Search_IgnoringCase', 100, function () use ($text) {
    for ($i = 0; $i < 100; $i++)
        stripos($text, 'IN IT');
});

use strict;
my %point = (x => 0, step => 3, moves => 0);
for my $i (1 .. $ARGV[0]) {
    $point{x} = $point{x} + $point{step};
    $point{moves} = $point{moves} + 1;
}
print $point{x} + $point{moves}, "\n";
